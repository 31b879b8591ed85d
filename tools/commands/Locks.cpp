#include "commands/Commands.h"
#include "commands/Failure.h"
#include "locks/LockFiles.h"
#include "storestate/StudyLock.h"
#include "terminal/Terminal.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <nlohmann/json.hpp>

namespace storestate {
namespace {

using Json = nlohmann::ordered_json;

void printTable(const std::vector<LockFile>& locks) {
    size_t width = strlen("STUDY");
    for (const LockFile& lock : locks) {
        width = std::max(width, lock.study.size());
    }
    const Style style(stdout);
    const int column = static_cast<int>(width);
    char line[64];
    snprintf(line, sizeof line, "%-14s  %s", "AGE", "USER");
    printf("%s\n", style.title("STUDY" + std::string(width - strlen("STUDY") + 2, ' ') + line).c_str());
    for (const LockFile& lock : locks) {
        printf("%-*s  %-14s  %s\n", column, printable(lock.study).c_str(), ageText(lock.ageSeconds).c_str(),
               lock.user.c_str());
    }
}

Json toJson(const LockFile& lock) {
    return {{"study", lock.study}, {"ageSeconds", lock.ageSeconds}, {"user", lock.user}, {"file", lock.path}};
}

} // namespace

int lockStudyForever(const std::string& study) {
    return guarded(study, [&] {
        StoreState state(study.c_str(), "");
        lockStudy(state);
        return STATUS_DONE;
    });
}

int unlockHeldStudy(const std::string& study, bool force) {
    return guarded(study, [&]() -> int {
        const std::optional<LockFile> lock = findLock(study);
        if (!lock.has_value()) {
            printf("%s is not locked.\n", printable(study).c_str());
            return STATUS_DONE;
        }
        const std::string held = "held for " + ageText(lock->ageSeconds) + " by " + lock->user;
        if (!force && !isTerminal(stdin)) {
            return complain(study, "The lock is " + held + "; without a terminal to ask on, --force removes it.",
                            STATUS_USAGE);
        }
        if (!force && !confirmed("The lock of " + printable(study) + " is " + held + ". Remove it?")) {
            return complain(study, "The lock stays.", STATUS_FAILED);
        }
        const std::optional<LockFile> now = findLock(study); // an answer takes its time
        if (now.has_value() && now->takenAt != lock->takenAt) {
            return complain(study, "The lock was given back and taken again meanwhile; it stays.", STATUS_FAILED);
        }
        StoreState state(study.c_str(), "");
        unlockStudy(state);
        printf("%s: removed the lock, %s.\n", printable(study).c_str(), held.c_str());
        return STATUS_DONE;
    });
}

int listLocks(int64_t seconds, bool asJson) {
    return guarded("locks", [&] {
        std::vector<LockFile> locks = findLocks();
        const auto young =
            std::find_if(locks.begin(), locks.end(), [=](const LockFile& lock) { return lock.ageSeconds < seconds; });
        locks.erase(young, locks.end());
        if (asJson) {
            Json list = Json::array();
            std::transform(locks.begin(), locks.end(), std::back_inserter(list), toJson);
            printf("%s\n", list.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
        } else if (!locks.empty()) {
            printTable(locks);
        }
        return STATUS_DONE;
    });
}

} // namespace storestate
