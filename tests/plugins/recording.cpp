// A plug-in that records each call in the file $RECORDED_CALLS and returns a value of its own.
#include "repository/RepositoryHandler.h"

#include <cstring>
#include <fstream>
#include <string>

using Text = const char*;

template <class Result, class... Args>
static Result record(Result result, Text name, Text first, Args... others) {
    std::ofstream calls(getenv("RECORDED_CALLS"), std::ios::app);
    calls << name << "(" << first;
    ((calls << ", " << others), ...);
    calls << ")";
    return result;
}

static char* path(const std::string& repository, const std::string& study) {
    return strcpy(new char[repository.size() + study.size() + 2], (repository + "/" + study).c_str());
}

int32_t unAge_(Text repository, Text resource) {
    return record(1, "unAge", repository, resource);
}

int32_t freeMount_(Text repository, Text subDirectory) {
    return record(2, "freeMount", repository, subDirectory);
}

void checkOverload_(Text repository) {
    record(0, "checkOverload", repository);
}

void* listDirs_(Text repository, void* opaque, bool flag) {
    return record(reinterpret_cast<void*>(3), "listDirs", repository, opaque, flag);
}

void* listFiles_(Text repository, void* opaque, bool flag) {
    return record(reinterpret_cast<void*>(4), "listFiles", repository, opaque, flag);
}

int32_t removeResource_(Text repository, Text resource) {
    return record(5, "removeResource", repository, resource);
}

int32_t checkResourceStatus_(Text repository, Text resource) {
    return record(6, "checkResourceStatus", repository, resource);
}

int32_t getRepositoryStatus_(Text repository) {
    return record(7, "getRepositoryStatus", repository);
}

void* createLocation_(Text repository, Text fileName, void* opaque, bool flag) {
    return record(reinterpret_cast<void*>(8), "createLocation", repository, fileName, opaque, flag);
}

char* createDirectory_(Text repository, Text subDir, void* opaque, bool flag) {
    return record(path(repository, subDir), "createDirectory", repository, subDir, opaque, flag);
}

char* getLocation_(Text repository, Text fileName, void* opaque) {
    return record(path(repository, fileName), "getLocation", repository, fileName, opaque);
}
