#include "locks/StudyLocks.h"

#include "files/Files.h"
#include "storestate/FileError.h"
#include "terminal/Interruption.h"
#include "terminal/Status.h"
#include "terminal/Text.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <sys/stat.h>

namespace storestate {
namespace {

std::string lockPath(const std::string& study) {
    return StoreState(study.c_str(), "").semaphore.path();
}

int64_t age(time_t changed) {
    const auto seconds = static_cast<int64_t>(time(nullptr)) - static_cast<int64_t>(changed);
    return seconds < 0 && seconds >= -CLOCK_DIFFERENCE ? 0 : seconds;
}

/** Locks dated in the future come last. */
bool isOlder(const LockFile& left, const LockFile& right) {
    return left.ageSeconds != right.ageSeconds ? left.ageSeconds > right.ageSeconds : left.study < right.study;
}

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds QUIET(1);  ///< wait that is not reported; most locks are released by then
constexpr long SHORTEST_PAUSE = 50000000; ///< nanoseconds
constexpr long SPREAD = 100000000;

/** Sleeps; a signal ends it early. */
void pause() {
    const timespec time = {0, SHORTEST_PAUSE + rand() % SPREAD};
    nanosleep(&time, nullptr);
}

} // namespace

std::optional<LockFile> findLock(const std::string& study) {
    const std::string path = lockPath(study);
    struct stat status;
    errno = 0;
    if (lstat(path.c_str(), &status) == 0) { // as exclusive creation sees it
        return LockFile{study, path, age(status.st_mtime), userName(status.st_uid)};
    }
    if (errno != ENOENT) {
        throwFileError("Reading lock failed: ", path.c_str());
    }
    return std::nullopt;
}

std::vector<LockFile> findLocks() {
    const std::string common = lockPath(""); // how the paths of all locks begin
    const size_t slash = common.rfind('/');
    const std::string prefix = common.substr(slash + 1);
    std::vector<LockFile> locks;
    for (const std::string& name : namesIn(common.substr(0, slash + 1))) {
        if (name.compare(0, prefix.size(), prefix) == 0) {
            const std::optional<LockFile> lock = findLock(name.substr(prefix.size()));
            if (lock.has_value()) { // it may have been released meanwhile
                locks.push_back(*lock);
            }
        }
    }
    std::sort(locks.begin(), locks.end(), isOlder);
    return locks;
}

bool isOld(const LockFile& lock, int64_t seconds) {
    return lock.ageSeconds >= seconds || seconds == 0;
}

std::string ageText(int64_t seconds) {
    if (seconds < 0) {
        return "in the future";
    }
    for (const auto& [unit, name] : {std::pair(86400L, "d"), std::pair(3600L, "h"), std::pair(60L, "min")}) {
        if (seconds >= 2 * unit) {
            return std::to_string(seconds / unit) + " " + name;
        }
    }
    return std::to_string(seconds) + " s";
}

std::string holderText(const LockFile& lock) {
    return "held " + (lock.ageSeconds < 0 ? "" : "for " + ageText(lock.ageSeconds) + " ") + "by " + lock.user +
           (lock.ageSeconds < 0 ? ", dated in the future" : "");
}

std::string obstacleText(const std::string& study) {
    const std::optional<LockFile> lock = findLock(study);
    return lock.has_value() ? holderText(*lock) + ", file " + lock->path +
                                  "; if that process has ended, run: storestate unlock " + shellWord(study)
                            : "released just now: try again";
}

void takeLock(StoreState& state, int seconds) {
    const std::string study = state.studyId.c_str();
    const Clock::time_point start = Clock::now();
    bool reported = false;
    while (notedSignal() == 0) {
        if (state.semaphore.lockResource()) {
            return;
        }
        const Clock::duration passed = Clock::now() - start;
        if (passed >= std::chrono::seconds(seconds)) {
            throw Failure("The study is locked: " + obstacleText(study), STATUS_TIMEOUT);
        }
        if (!reported && passed >= QUIET) {
            remark(study, "Waiting for the lock, " + obstacleText(study));
            reported = true;
        }
        pause();
    }
    throw Failure("Interrupted while waiting for the lock; nothing was changed.", signalStatus());
}

} // namespace storestate
