#include "check/Parts.h"
#include "files/Files.h"
#include "locks/StudyLocks.h"
#include "storestate/Environment.h"
#include "storestate/FreshLook.h"
#include "studies/StudyList.h"
#include "support/QXException.h"
#include "support/QXSemaphore.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <sys/stat.h>
#include <unistd.h>

namespace storestate {
namespace {

constexpr char REPOSITORY[] = "REPOSITORY_DICOM_DATA";
constexpr char LOCKS[] = "LOCK_VAR";
constexpr size_t VISITS = 1000; ///< directories to visit at most in search of studies

/** Reports the directory, and whether several hosts may share it. */
void reportPlace(const Report& report, const char* variable, const std::string& path) {
    report({Verdict::GOOD, variable, path, ""});
    if (mayBeShared(path.c_str())) {
        report({Verdict::NOTE, variable, path + " is on a file system that several hosts may share",
                "see \"Shared file systems and several hosts\" in operations.md"});
    }
}

std::string remedyForWriting(int error) {
    switch (error) {
    case ENOSPC:
    case EDQUOT:
        return "free space and inodes there, or raise the quota";
    case EACCES:
    case EPERM:
        return "let the server's user write there, and search all directories of the path";
    default:
        return "repair the file system, its mount or its server; the kernel's log may say more";
    }
}

/** Whether the variable is the absolute path of a directory; otherwise reports BAD. */
bool namesDirectory(const Report& report, const char* variable, const std::string& content, struct stat& status) {
    const std::string path = environmentValue(variable);
    if (path.empty() || path[0] != '/') {
        report({Verdict::BAD, variable, path.empty() ? "not set" : path + " depends on where a process was started",
                "set it to the absolute path of the directory of the " + content});
        return false;
    }
    int error = stat(path.c_str(), &status) != 0 ? errno : 0;
    if (error == 0 && !S_ISDIR(status.st_mode)) {
        error = ENOTDIR;
    }
    if (error != 0) {
        report({Verdict::BAD, variable, path + ": " + strerror(error),
                error == ENOENT ? "mount or create the directory of the " + content : remedyForWriting(error)});
    }
    return error == 0;
}

/** Takes and releases a lock that belongs to no study. False: that failed and was reported as BAD. */
bool tryLock(const Report& report, const std::string& path) {
    try {
        QXSemaphore semaphore("check." + std::to_string(getpid()) + "." + std::to_string(time(nullptr)), true);
        semaphore.lock(-1);
        struct stat status;
        const bool known = stat(semaphore.path().c_str(), &status) == 0;
        const int64_t ahead = known ? static_cast<int64_t>(status.st_mtime) - time(nullptr) : 0;
        semaphore.unlock();
        if (ahead > CLOCK_DIFFERENCE || ahead < -CLOCK_DIFFERENCE) {
            report({Verdict::NOTE, "clock",
                    "the clock of the lock directory's file system differs by " + std::to_string(ahead) + " seconds",
                    "set the clocks: the ages of locks are wrong by this difference"});
        }
        return true;
    } catch (const QXException& failure) {
        report({Verdict::BAD, LOCKS, path + ": " + failure.message, remedyForWriting(failure.errorNumber)});
        return false;
    }
}

void checkLockPlace(const Report& report, const std::string& path) {
    const auto isIn = [place = path + "/"](const char* shared) { return place.rfind(shared, 0) == 0; };
    if (isIn("/tmp/") || isIn("/var/tmp/") || isIn("/dev/shm/")) {
        report({Verdict::NOTE, LOCKS, path + " is a place for temporary files: other programs may delete locks",
                "use a directory that belongs to the server, such as /var/lib/storestate/locks"});
    }
    const char* root = environmentValue(REPOSITORY);
    if (access(root, F_OK) == 0 && !mayBeShared(path.c_str()) && mayBeShared(root)) {
        report({Verdict::NOTE, LOCKS, path + " is on this host alone, and the repository is shared",
                "fine for a single host; otherwise use a directory that all hosts share"});
    }
}

void checkOldLocks(const Report& report) {
    try {
        const std::vector<LockFile> locks = findLocks();
        const std::string held = std::to_string(locks.size()) + " held";
        if (locks.empty() || !isOld(locks.front(), OLD_SECONDS)) {
            report({Verdict::GOOD, "locks", held, ""});
            return;
        }
        report({Verdict::NOTE, "locks", held + ", the oldest " + holderText(locks.front()) + ": " + locks.front().study,
                "storestate locks; then storestate unlock those whose process is gone"});
    } catch (const QXException& failure) {
        report({Verdict::UNKNOWN, "locks", failure.message, "let the server's user list the directory"});
    }
}

} // namespace

void checkRepository(const Report& report) {
    struct stat root;
    if (!namesDirectory(report, REPOSITORY, "studies", root)) {
        return;
    }
    const std::string path = environmentValue(REPOSITORY);
    const bool isEmpty = walkStudies(VISITS).empty;
    if (isEmpty) {
        report({Verdict::NOTE, REPOSITORY, path + " holds no study",
                "fine for a new archive; otherwise mount the archive: an empty mount point looks the same"});
    }
    if (root.st_uid != geteuid()) {
        report({Verdict::NOTE, "user",
                userName(geteuid()) + ", but the repository belongs to " + userName(root.st_uid) +
                    ": the rights of the server may differ",
                "run it as the server's user"});
    }
    const int error = access(path.c_str(), TO_SAVE) != 0 ? errno : ENOSPC;
    const std::string denied = accessFault(path, TO_SAVE);
    const std::string fault = denied.empty() ? spaceFault(path) : denied;
    if (!fault.empty()) {
        report({Verdict::BAD, REPOSITORY, fault,
                (isEmpty && !denied.empty() ? "mount the archive, or " : "") + remedyForWriting(error)});
    } else {
        reportPlace(report, REPOSITORY, path);
    }
}

void checkLockDirectory(const Report& report) {
    struct stat status;
    if (!namesDirectory(report, LOCKS, "lock files, the same for all processes", status)) {
        return;
    }
    const std::string path = environmentValue(LOCKS);
    if (tryLock(report, path)) {
        reportPlace(report, LOCKS, path);
        checkLockPlace(report, path);
    }
    checkOldLocks(report);
}

} // namespace storestate
