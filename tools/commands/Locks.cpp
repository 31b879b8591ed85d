#include "commands/Commands.h"
#include "commands/Failure.h"
#include "commands/StudyWork.h"
#include "locks/Age.h"
#include "locks/LockFiles.h"
#include "process/Identity.h"
#include "storestate/StudyLock.h"
#include "terminal/Interruption.h"
#include "terminal/Terminal.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <nlohmann/json.hpp>

namespace storestate {
namespace {

using Json = nlohmann::ordered_json;

constexpr size_t AGE_WIDTH = 16;

std::string table(const std::vector<LockFile>& locks, const Style& style) {
    size_t width = sizeof "STUDY" - 1;
    for (const LockFile& lock : locks) {
        width = std::max(width, printable(lock.study).size());
    }
    std::string text = style.title(padded("STUDY", width + 2) + padded("AGE", AGE_WIDTH) + "USER") + "\n";
    for (const LockFile& lock : locks) {
        text +=
            padded(printable(lock.study), width + 2) + padded(ageText(lock.ageSeconds), AGE_WIDTH) + lock.user + "\n";
    }
    return text;
}

Json toJson(const LockFile& lock) {
    return {{"study", lock.study}, {"ageSeconds", lock.ageSeconds}, {"user", lock.user}, {"file", lock.path}};
}

/** The locks of the studies, or all when none is named. */
std::vector<LockFile> locksOf(const Studies& studies) {
    if (studies.empty()) {
        return findLocks();
    }
    std::vector<LockFile> locks;
    for (const std::string& study : studies) {
        const std::optional<LockFile> lock = findLock(study);
        if (lock.has_value()) {
            locks.push_back(*lock);
        } else {
            printf("%s is not locked.\n", printable(study).c_str());
        }
    }
    return locks;
}

int removeLock(const LockFile& lock) {
    return guarded(lock.study, [&]() -> int {
        const std::string foreign = foreignOwner(lock.path);
        if (!foreign.empty()) {
            return complain(lock.study, foreign, STATUS_FAILED);
        }
        const std::optional<LockFile> now = findLock(lock.study); // an answer takes its time
        if (now.has_value() && now->takenAt != lock.takenAt) {
            return complain(lock.study, "The lock was given back and taken again meanwhile; it stays.", STATUS_FAILED);
        }
        StoreState state(lock.study.c_str(), "");
        unlockStudy(state);
        printf("%s: removed the lock, %s.\n", printable(lock.study).c_str(), holderText(lock).c_str());
        return STATUS_DONE;
    });
}

/** Says which of the locks that were named stay for their age. */
void reportYounger(const std::vector<LockFile>& named, int64_t seconds) {
    for (const LockFile& lock : named) {
        if (!isOld(lock, seconds)) {
            printf("%s: the lock stays, %s.\n", printable(lock.study).c_str(), holderText(lock).c_str());
        }
    }
}

/** Shows the locks and asks; STATUS_DONE: they may be removed. */
int askAbout(const std::vector<LockFile>& locks) {
    if (!isTerminal(stdin)) {
        for (const LockFile& lock : locks) {
            complain(lock.study,
                     "The lock is " + holderText(lock) + "; without a terminal to ask on, --force removes it.",
                     STATUS_USAGE);
        }
        return STATUS_USAGE;
    }
    fprintf(stderr, "%s", table(locks, Style(stderr)).c_str());
    const std::string question =
        locks.size() == 1 ? "Remove this lock?" : "Remove these " + std::to_string(locks.size()) + " locks?";
    return confirmed(question) ? STATUS_DONE : complain("unlock", "Nothing was removed.", STATUS_FAILED);
}

} // namespace

int takeLockForGood(const std::string& study, int lockSeconds) {
    return guarded(study, [&] {
        const Interruption interruption;
        StoreState state(study.c_str(), "");
        const char* root = getenv("REPOSITORY_DICOM_DATA");
        fitUmask(root != nullptr ? root : "");
        const int status = takeLock(state, {lockSeconds, false});
        state.semaphore.autoUnlock = false;
        return status;
    });
}

int removeLocks(const Studies& studies, std::optional<int64_t> minimumAge, bool force) {
    return guarded("unlock", [&] {
        const std::vector<LockFile> all = locksOf(studies);
        const int64_t seconds = minimumAge.value_or(INT64_MIN);
        const std::vector<LockFile> locks = olderThan(all, seconds);
        if (!studies.empty()) {
            reportYounger(all, seconds);
        }
        int status = force || locks.empty() ? STATUS_DONE : askAbout(locks);
        if (status == STATUS_DONE) {
            for (const LockFile& lock : locks) {
                status = combined(status, removeLock(lock));
            }
        }
        return status;
    });
}

int listLocks(int64_t seconds, bool asJson) {
    return guarded("locks", [&] {
        const std::vector<LockFile> locks = olderThan(findLocks(), seconds);
        if (asJson) {
            Json list = Json::array();
            std::transform(locks.begin(), locks.end(), std::back_inserter(list), toJson);
            printf("%s", jsonText(list).c_str());
        } else if (!locks.empty()) {
            printf("%s", table(locks, Style(stdout)).c_str());
        }
        return STATUS_DONE;
    });
}

} // namespace storestate
