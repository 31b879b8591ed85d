// A plug-in that writes down each call in the file $RECORDED_CALLS and answers with a value of its own.
#include "repository/RepositoryHandler.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

static void note(const char* call, const char* first, const char* second, void* opaque = nullptr, bool flag = false) {
    FILE* calls = fopen(getenv("RECORDED_CALLS"), "a");
    fprintf(calls, "%s(%s,%s,%p,%d)\n", call, first, second, opaque, flag);
    fclose(calls);
}

static void* marker(int number) {
    return reinterpret_cast<void*>(static_cast<intptr_t>(number));
}

static char* path(const char* repository, const char* study) {
    char* text = new char[strlen(repository) + strlen(study) + 2];
    sprintf(text, "%s/%s", repository, study);
    return text;
}

int32_t unAge_(const char* a, const char* b) {
    return note("unAge", a, b), 1;
}
int32_t freeMount_(const char* a, const char* b) {
    return note("freeMount", a, b), 2;
}
void checkOverload_(const char* a) {
    note("checkOverload", a, "");
}
void* listDirs_(const char* a, void* o, bool f) {
    return note("listDirs", a, "", o, f), marker(3);
}
void* listFiles_(const char* a, void* o, bool f) {
    return note("listFiles", a, "", o, f), marker(4);
}
int32_t removeResource_(const char* a, const char* b) {
    return note("removeResource", a, b), 5;
}
int32_t checkResourceStatus_(const char* a, const char* b) {
    return note("checkResourceStatus", a, b), -1;
}
int32_t getRepositoryStatus_(const char* a) {
    return note("getRepositoryStatus", a, ""), 6;
}
void* createLocation_(const char* a, const char* b, void* o, bool f) {
    return note("createLocation", a, b, o, f), marker(7);
}
char* createDirectory_(const char* a, const char* b, void* o, bool f) {
    return note("createDirectory", a, b, o, f), path(a, b);
}

// Somebody else is quick: at the call after the one that found the file "wait", "comes" becomes the record or "goes"
// takes it away.
char* getLocation_(const char* a, const char* b, void* o) {
    note("getLocation", a, b, o);
    const std::string info = std::string(a) + "/" + b + "/.info/";
    const std::string record = info + "storestate.rec";
    if (unlink((info + "wait").c_str()) != 0) {
        rename((info + "comes").c_str(), record.c_str());
        if (unlink((info + "goes").c_str()) == 0) {
            unlink(record.c_str());
        }
    }
    return path(a, b);
}
