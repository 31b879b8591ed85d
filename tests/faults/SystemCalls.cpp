#include "SystemCalls.h"

#include "support/Export.h"

#include <cerrno>
#include <csignal>
#include <ctime>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <unistd.h>

/** The injected error of the call that is about to be noted; 0: none. */
static int injectedError(Op op) {
    const bool later = trace.size() > plan.at;
    if (trace.size() == plan.at || (later && plan.how == Plan::SAME && op == trace[plan.at].op)) {
        return plan.error;
    }
    return later && plan.how == Plan::ALL ? EIO : 0;
}

/** Notes a call. Unless it is to fail, `work` does it, or the given fraction of it: 1 for all, 2 for half. */
template <class Work>
static int pass(Op op, const char* name, const std::string& path, const std::string& argument, Work work) {
    if (!noting || places.count(path) == 0) {
        return static_cast<int>(work(1));
    }
    if (plan.how == Plan::KILL && trace.size() == plan.at) {
        raise(SIGKILL);
    }
    const int error = injectedError(op);
    const bool tried = error <= 0 || error == EEXIST || op == CLOSE; // EEXIST: another process did it just before
    ssize_t result = tried ? work(error == SHORT ? 2 : 1) : -1;
    const bool done = result >= 0;
    if (error > 0) {
        result = -1;
        errno = error;
    }
    if ((op == OPEN || op == OPENDIR) && result >= 0) {
        openFiles[static_cast<int>(result)] = path;
    }
    trace.push_back({op, name, places[path], path, argument, done, error > 0, result < 0 ? errno : 0});
    return static_cast<int>(result);
}

static std::string pathOf(int file) {
    return noting && openFiles.count(file) != 0 ? openFiles[file] : "";
}

/** The path of a descriptor that is about to be closed. */
static std::string takePathOf(int file) {
    const std::string path = pathOf(file);
    openFiles.erase(file);
    return path;
}

static int tellType(struct statfs* system) {
    system->f_type = ofCluster ? 0x65735546 : 0x01021994;
    return 0;
}

/** The library remembers a shared file system by its device, which is another one than that of a local one. */
static int lookOnDevice(const char* path, struct stat* status) {
    const int result = fstatat(AT_FDCWD, path, status, 0);
    status->st_dev += ofCluster;
    return result;
}

static Op opOfStatx(int flags) {
    const Op refreshing = (flags & AT_EMPTY_PATH) != 0 ? FSTAT : REFRESH;
    return (flags & AT_STATX_FORCE_SYNC) != 0 ? refreshing : Op{STAT};
}

// The plug-in, loaded at run time, calls these, too. The headers rename them for 64-bit file offsets and times.
#define CALL(op, type, name, parameters, path, argument, work)                                                         \
    extern "C" STORESTATE_EXPORT type name parameters {                                                                \
        return pass(op, #name, path, argument, [&]([[maybe_unused]] size_t parts) { return work; });                   \
    }
CALL(OPEN, int, open, (const char* path, int flags, ...), path, (flags & O_CLOEXEC) != 0 ? "" : "inheritable",
     openat(AT_FDCWD, path, flags, 0666))
CALL(CLOSE, int, close, (int file), takePathOf(file), "", syscall(SYS_close, file))
CALL(READ, ssize_t, read, (int file, void* buffer, size_t size), pathOf(file), "",
     syscall(SYS_read, file, buffer, (size + parts - 1) / parts))
CALL(WRITE, ssize_t, write, (int file, const void* buffer, size_t size), pathOf(file), "",
     syscall(SYS_write, file, buffer, (size + parts - 1) / parts))
CALL(FSYNC, int, fsync, (int file), pathOf(file), "", syscall(SYS_fsync, file))
CALL(RENAME, int, rename, (const char* from, const char* to) noexcept, from, to, renameat(AT_FDCWD, from, AT_FDCWD, to))
CALL(UNLINK, int, unlink, (const char* path) noexcept, path, "", unlinkat(AT_FDCWD, path, 0))
CALL(MKDIR, int, mkdir, (const char* path, mode_t mode) noexcept, path, "", mkdirat(AT_FDCWD, path, mode))
CALL(STAT, int, stat, (const char* path, struct stat* status) noexcept, path, "", lookOnDevice(path, status))
CALL(LSTAT, int, lstat, (const char* path, struct stat* status) noexcept, path, "",
     fstatat(AT_FDCWD, path, status, AT_SYMLINK_NOFOLLOW))
CALL(opOfStatx(flags), int, statx, (int file, const char* path, int flags, unsigned mask, struct statx* status),
     (flags & AT_EMPTY_PATH) != 0 ? pathOf(file) : path, "", syscall(SYS_statx, file, path, flags, mask, status))
CALL(STATFS, int, statfs, (const char* path, struct statfs* system) noexcept, path, "", tellType(system))
CALL(CLOSE, int, closedir, (DIR * directory), takePathOf(dirfd(directory)), "",
     reinterpret_cast<int (*)(DIR*)>(dlsym(RTLD_NEXT, "closedir"))(directory))

extern "C" STORESTATE_EXPORT DIR* opendir(const char* path) {
    const auto open = [&](size_t) { return openat(AT_FDCWD, path, O_DIRECTORY | O_CLOEXEC); };
    const int file = pass(OPENDIR, "opendir", path, "", open);
    return file >= 0 ? fdopendir(file) : nullptr;
}
extern "C" STORESTATE_EXPORT struct dirent* readdir(DIR* directory) {
    const auto next = reinterpret_cast<struct dirent* (*)(DIR*)>(dlsym(RTLD_NEXT, "readdir64"));
    struct dirent* entry = next(directory);
    if (pass(READDIR, "readdir", pathOf(dirfd(directory)), "", [](size_t) { return 0; }) != 0) {
        return nullptr;
    }
    if (noting && entry != nullptr) {
        shown(*entry);
    }
    return entry;
}
extern "C" STORESTATE_EXPORT int nanosleep(const timespec* time, timespec*) {
    ++pauses;
    paused(static_cast<long>(time->tv_sec));
    return 0;
}
