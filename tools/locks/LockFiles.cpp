#include "locks/LockFiles.h"

#include "process/Users.h"
#include "storestate/FileError.h"
#include "storestate/StoreState.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <dirent.h>
#include <iterator>
#include <memory>
#include <sys/stat.h>

namespace storestate {
namespace {

constexpr int64_t CLOCK_DIFFERENCE = 60; ///< seconds by which a file server's clock may be ahead
constexpr int64_t NANOSECONDS = 1000000000;

std::string lockPath(const std::string& study) {
    return StoreState(study.c_str(), "").semaphore.path();
}

int64_t age(time_t changed) {
    const auto seconds = static_cast<int64_t>(time(nullptr)) - static_cast<int64_t>(changed);
    return seconds < 0 && seconds >= -CLOCK_DIFFERENCE ? 0 : seconds;
}

bool isOlder(const LockFile& left, const LockFile& right) {
    const bool leftIsOld = left.ageSeconds < 0;
    const bool rightIsOld = right.ageSeconds < 0;
    if (leftIsOld != rightIsOld) {
        return leftIsOld;
    }
    return left.ageSeconds != right.ageSeconds ? left.ageSeconds > right.ageSeconds : left.study < right.study;
}

} // namespace

std::optional<LockFile> findLock(const std::string& study) {
    const std::string path = lockPath(study);
    struct stat status;
    errno = 0;
    if (lstat(path.c_str(), &status) == 0) { // as exclusive creation sees it
        const int64_t takenAt = static_cast<int64_t>(status.st_mtim.tv_sec) * NANOSECONDS + status.st_mtim.tv_nsec;
        return LockFile{study, path, age(status.st_mtime), userName(status.st_uid), takenAt};
    }
    if (errno != ENOENT) {
        throwFileError("Reading lock failed: ", path.c_str());
    }
    return std::nullopt;
}

std::vector<LockFile> findLocks() {
    const std::string common = lockPath(""); // what the paths of all locks begin with
    const size_t slash = common.rfind('/');
    const std::string prefix = common.substr(slash + 1);
    const std::string directory = common.substr(0, slash + 1);
    errno = 0;
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(directory.c_str()), closedir);
    if (entries == nullptr) {
        throwFileError("Reading lock directory failed: ", directory.c_str());
    }
    std::vector<LockFile> locks;
    while (const dirent* entry = readdir(entries.get())) {
        const std::string name = entry->d_name;
        if (name.compare(0, prefix.size(), prefix) == 0) {
            const std::optional<LockFile> lock = findLock(name.substr(prefix.size()));
            if (lock.has_value()) { // not given back meanwhile
                locks.push_back(*lock);
            }
        }
    }
    std::sort(locks.begin(), locks.end(), isOlder);
    return locks;
}

bool isOld(const LockFile& lock, int64_t seconds) {
    return lock.ageSeconds < 0 || lock.ageSeconds >= seconds;
}

std::vector<LockFile> olderThan(const std::vector<LockFile>& locks, int64_t seconds) {
    std::vector<LockFile> old;
    std::copy_if(locks.begin(), locks.end(), std::back_inserter(old),
                 [=](const LockFile& lock) { return isOld(lock, seconds); });
    return old;
}

std::string holderText(const LockFile& lock) {
    return "held " + (lock.ageSeconds < 0 ? "" : "for " + ageText(lock.ageSeconds) + " ") + "by " + lock.user +
           (lock.ageSeconds < 0 ? ", dated in the future" : "");
}

} // namespace storestate
