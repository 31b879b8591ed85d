/**
 * The native methods of Floor: the system calls of one `modify` of an existing record, and nothing else. All paths are
 * made beforehand, the record is written as it was read, and all failures have the same result.
 */
#include "support/Export.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <jni.h>
#include <string>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

namespace {

struct Study {
    std::string plugin;
    std::string repository;
    std::string name;
    std::string directory;
    std::string info;
    std::string record;
    std::string temporary;
    std::string lock;
};

std::string text(JNIEnv* env, jstring string) {
    const char* characters = env->GetStringUTFChars(string, nullptr);
    const std::string copy(characters);
    env->ReleaseStringUTFChars(string, characters);
    return copy;
}

void debugLine(const char* format, ...) {
    va_list args;
    va_start(args, format);
    vsyslog(LOG_DEBUG, format, args);
    va_end(args);
}

bool callPlugin(const Study& study, const char* symbol) {
    debugLine("called %s with repository=%s fileName=%s", symbol, study.repository.c_str(), study.name.c_str());
    void* plugin = dlopen(study.plugin.c_str(), RTLD_LAZY);
    if (plugin == nullptr) {
        return false;
    }
    void* address = dlsym(plugin, symbol);
    const bool found = address != nullptr && reinterpret_cast<bool (*)(const char*)>(address)(study.directory.c_str());
    dlclose(plugin);
    return found;
}

bool closed(int file) {
    return file >= 0 && close(file) == 0;
}

/** Reads to the end of the file; -1 on failure, or if the buffer is too small. */
ssize_t readFile(const std::string& path, char* buffer, size_t size) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const ssize_t length = read(file, buffer, size);
    const bool whole = length >= 0 && read(file, buffer + length, size - static_cast<size_t>(length)) == 0;
    return closed(file) && whole ? length : -1;
}

bool writeFile(const std::string& path, const char* buffer, ssize_t size) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    const bool written = write(file, buffer, static_cast<size_t>(size)) == size && fsync(file) == 0;
    return closed(file) && written;
}

bool syncDirectory(const std::string& path) {
    const int directory = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const bool synced = fsync(directory) == 0;
    return closed(directory) && synced;
}

bool exists(const Study& study) {
    struct stat status;
    return callPlugin(study, "getLocation_") && stat(study.record.c_str(), &status) == 0;
}

bool lock(const Study& study) {
    return closed(open(study.lock.c_str(), O_RDONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0660));
}

bool modify(const Study& study) {
    char buffer[4096];
    if (!exists(study) || !lock(study) || !callPlugin(study, "getLocation_")) {
        return false;
    }
    const ssize_t size = readFile(study.record, buffer, sizeof buffer);
    if (size < 0 || !callPlugin(study, "createDirectory_")) {
        return false;
    }
    const bool hasInfo = mkdir(study.info.c_str(), 0775) == 0 || errno == EEXIST;
    // `modify` calls getpid() for the name of the temporary file; here the name exists already, but the call counts.
    return hasInfo && getpid() > 0 && writeFile(study.temporary, buffer, size) &&
           rename(study.temporary.c_str(), study.record.c_str()) == 0 && syncDirectory(study.info) &&
           unlink(study.lock.c_str()) == 0;
}

} // namespace

extern "C" {

STORESTATE_EXPORT jlong JNICALL Java_bench_Floor_prepare(JNIEnv* env, jclass, jstring plugin, jstring repository,
                                                         jstring locks, jstring name) {
    auto* study = new Study{text(env, plugin), text(env, repository), text(env, name), "", "", "", "", ""};
    study->directory = study->repository + "/" + study->name;
    study->info = study->directory + "/.info";
    study->record = study->info + "/storestate.rec";
    study->temporary = study->record + "." + std::to_string(getpid());
    study->lock = text(env, locks) + "/semaphore_storestate_" + study->name;
    openlog("bench-floor", LOG_PID, LOG_LOCAL0);
    return reinterpret_cast<jlong>(study);
}

STORESTATE_EXPORT jboolean JNICALL Java_bench_Floor_modify(JNIEnv*, jclass, jlong study) {
    return modify(*reinterpret_cast<const Study*>(study)) ? JNI_TRUE : JNI_FALSE;
}

STORESTATE_EXPORT void JNICALL Java_bench_Floor_setEnvironment(JNIEnv* env, jclass, jstring name, jstring value) {
    setenv(text(env, name).c_str(), text(env, value).c_str(), 1);
}
}
