#include "commands/Commands.h"
#include "diagnosis/Explanation.h"
#include "locks/StudyLocks.h"
#include "storestate/StudyLock.h"
#include "terminal/Interruption.h"
#include "terminal/Text.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace storestate {
namespace {

using Json = nlohmann::ordered_json;

constexpr char ROW[] = "%-24s %-16s%s\n";

Json toJson(const LockFile& lock) {
    return {{"study", lock.study}, {"ageSeconds", lock.ageSeconds}, {"user", lock.user}, {"file", lock.path}};
}

int removeLock(const std::string& study, int64_t seconds) {
    const std::optional<LockFile> lock = findLock(study);
    if (!lock.has_value()) {
        printf("%s is not locked.\n", printable(study).c_str());
        return STATUS_DONE;
    }
    if (!isOld(*lock, seconds)) {
        throw Failure("The lock stays: it is " + holderText(*lock) + ". --older-than 0s removes it.");
    }
    StoreState state(study.c_str(), "");
    unlockStudy(state);
    printf("%s: removed the lock, %s.\n", printable(study).c_str(), holderText(*lock).c_str());
    return STATUS_DONE;
}

/** All locks that are old enough, oldest first. */
std::vector<LockFile> oldLocks(int64_t seconds) {
    std::vector<LockFile> locks = findLocks();
    locks.erase(std::remove_if(locks.begin(), locks.end(), [=](const LockFile& lock) { return !isOld(lock, seconds); }),
                locks.end());
    return locks;
}

} // namespace

int takeAndKeepLock(const std::string& study, int lockSeconds) {
    deferSignals();
    return guarded(study, [&] {
        StoreState state(study.c_str(), "");
        takeLock(state, lockSeconds);
        state.semaphore.autoUnlock = false;
        return STATUS_DONE;
    });
}

int removeLocks(Studies studies, std::optional<int64_t> minimumAge) {
    if (studies.empty() && !minimumAge.has_value()) {
        throw Failure("STUDY or --older-than is required.", STATUS_USAGE);
    }
    const int64_t seconds = minimumAge.value_or(OLD_SECONDS);
    for (const LockFile& lock : studies.empty() ? oldLocks(seconds) : std::vector<LockFile>()) {
        studies.push_back(lock.study);
    }
    int status = STATUS_DONE;
    for (const std::string& study : studies) {
        status = combined(status, guarded(study, [&] { return removeLock(study, seconds); }));
    }
    return status;
}

int listLocks(int64_t seconds, bool asJson) {
    const std::vector<LockFile> locks = oldLocks(seconds);
    if (asJson) {
        Json list = Json::array();
        std::transform(locks.begin(), locks.end(), std::back_inserter(list), toJson);
        printf("%s", jsonText(list).c_str());
    } else if (!locks.empty()) {
        printf(ROW, "STUDY", "AGE", "USER");
        for (const LockFile& lock : locks) {
            printf(ROW, printable(lock.study).c_str(), ageText(lock.ageSeconds).c_str(), lock.user.c_str());
        }
    }
    return STATUS_DONE;
}

} // namespace storestate
