#ifndef TESTS_FAULTS_SYSTEMCALLS_H
#define TESTS_FAULTS_SYSTEMCALLS_H

#include "support/Export.h"

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <fcntl.h>
#include <map>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

/**
 * The system calls of this program, noted and broken on purpose: its own open(), fsync() and so on take the place of
 * the C library's, for the static core and for the plug-in that is loaded at run time. What ships knows nothing of it.
 */
struct Call {
    std::string name, place, path; ///< place: as in `places`
    std::string argument;          ///< what was written; the new path of a rename
    int error;                     ///< 0: carried out
    bool injected;                 ///< by the plan
};

/** What happens to call number `at`, and to later ones: those of its name (SAME), or all (ALL, with EIO). */
struct Plan {
    enum How { NOTHING, ONCE, SAME, ALL, KILL_BEFORE, KILL_AFTER } how;
    size_t at;
    int error; ///< errno, SHORT, or 0 for a kill
};
constexpr int SHORT = -1; ///< half of what was asked for is read or written

inline Plan plan;
inline std::vector<Call> trace;
inline bool noting = false;                       ///< otherwise all calls pass as usual
inline std::map<std::string, std::string> places; ///< by path; calls on other files pass as usual
inline std::map<int, std::string> openFiles;      ///< paths by descriptor

inline int plannedError(size_t index) {
    const bool again = plan.how == Plan::SAME && trace[index].name == trace[plan.at].name;
    return index < plan.at ? 0 : index == plan.at || again ? plan.error : plan.how == Plan::ALL ? EIO : 0;
}

inline void killIf(Plan::How how, size_t index) {
    if (plan.how == how && plan.at == index) { raise(SIGKILL); }
}

/** Notes a call and has it done by `work`, or one in so many parts of it, unless it is to fail. */
template <class Work>
int pass(const char* name, const std::string& path, const char* argument, Work work) {
    if (!noting || places.count(path) == 0) { return static_cast<int>(work(1)); }
    const size_t index = trace.size();
    trace.push_back({name, places[path], path, argument, 0, false});
    killIf(Plan::KILL_BEFORE, index);
    const int error = plannedError(index);
    const ssize_t result = error > 0 ? -1 : work(error == SHORT ? 2 : 1);
    errno = error > 0 ? error : errno;
    trace[index].injected = error != 0;
    trace[index].error = result < 0 ? errno : 0;
    killIf(Plan::KILL_AFTER, index);
    return static_cast<int>(result);
}

inline std::string pathOf(int file) { return noting && openFiles.count(file) != 0 ? openFiles[file] : ""; }

// The headers give these functions the names that go with the width of file offsets and times.
extern "C" {
STORESTATE_EXPORT int open(const char* path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(args, mode_t) : 0;
    va_end(args);
    const int file = pass("open", path, "", [&](size_t) { return openat(AT_FDCWD, path, flags, mode); });
    if (noting && file >= 0) { openFiles[file] = path; }
    return file;
}
STORESTATE_EXPORT int close(int file) {
    const int result = pass("close", pathOf(file), "", [](size_t) { return 0; });
    const int error = errno;
    syscall(SYS_close, file); // gives the descriptor up, whatever it says
    openFiles.erase(file);
    errno = error;
    return result;
}
STORESTATE_EXPORT ssize_t read(int file, void* buffer, size_t size) {
    const auto work = [&](size_t by) { return syscall(SYS_read, file, buffer, (size + by - 1) / by); };
    return pass("read", pathOf(file), "", work);
}
STORESTATE_EXPORT ssize_t write(int file, const void* buffer, size_t size) {
    return pass("write", pathOf(file), "", [&](size_t by) {
        const ssize_t written = syscall(SYS_write, file, buffer, (size + by - 1) / by);
        if (noting && written > 0) {
            trace.back().argument.assign(static_cast<const char*>(buffer), static_cast<size_t>(written));
        }
        return written;
    });
}
STORESTATE_EXPORT int fsync(int file) {
    return pass("fsync", pathOf(file), "", [&](size_t) { return syscall(SYS_fsync, file); });
}
STORESTATE_EXPORT int rename(const char* from, const char* to) noexcept {
    return pass("rename", from, to, [&](size_t) { return renameat(AT_FDCWD, from, AT_FDCWD, to); });
}
STORESTATE_EXPORT int unlink(const char* path) noexcept {
    return pass("unlink", path, "", [&](size_t) { return unlinkat(AT_FDCWD, path, 0); });
}
STORESTATE_EXPORT int mkdir(const char* path, mode_t mode) noexcept {
    return pass("mkdir", path, "", [&](size_t) { return mkdirat(AT_FDCWD, path, mode); });
}
STORESTATE_EXPORT int stat(const char* path, struct stat* status) noexcept {
    return pass("stat", path, "", [&](size_t) { return fstatat(AT_FDCWD, path, status, 0); });
}
STORESTATE_EXPORT int lstat(const char* path, struct stat* status) noexcept {
    return pass("stat", path, "", [&](size_t) { return fstatat(AT_FDCWD, path, status, AT_SYMLINK_NOFOLLOW); });
}
}

#endif
