#include "locks/LockFiles.h"

#include "storestate/FileError.h"
#include "storestate/StoreState.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <dirent.h>
#include <memory>
#include <pwd.h>
#include <sys/stat.h>

namespace storestate {
namespace {

std::string userName(uid_t id) {
    const passwd* entry = getpwuid(id);
    return entry != nullptr ? entry->pw_name : std::to_string(id);
}

std::string lockPath(const std::string& study) {
    return StoreState(study.c_str(), "").semaphore.path();
}

} // namespace

std::optional<LockFile> findLock(const std::string& study) {
    const std::string path = lockPath(study);
    struct stat status;
    errno = 0;
    if (stat(path.c_str(), &status) == 0) {
        const auto age = static_cast<int64_t>(time(nullptr)) - static_cast<int64_t>(status.st_mtime);
        const int64_t takenAt = static_cast<int64_t>(status.st_mtim.tv_sec) * 1000000000 + status.st_mtim.tv_nsec;
        return LockFile{study, path, std::max<int64_t>(age, 0), userName(status.st_uid), takenAt};
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
    std::sort(locks.begin(), locks.end(), [](const LockFile& left, const LockFile& right) {
        return left.ageSeconds != right.ageSeconds ? left.ageSeconds > right.ageSeconds : left.study < right.study;
    });
    return locks;
}

std::string ageText(int64_t seconds) {
    const int64_t minutes = seconds / 60;
    const int64_t hours = minutes / 60;
    if (minutes == 0) {
        return std::to_string(seconds) + " s";
    }
    if (hours == 0) {
        return std::to_string(minutes) + " min";
    }
    return hours < 48 ? std::to_string(hours) + " h " + std::to_string(minutes % 60) + " min"
                      : std::to_string(hours / 24) + " d " + std::to_string(hours % 24) + " h";
}

} // namespace storestate
