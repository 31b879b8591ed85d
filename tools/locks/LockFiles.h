/** The lock files of studies, as the file system shows them. */
#ifndef TOOLS_LOCKS_LOCKFILES_H
#define TOOLS_LOCKS_LOCKFILES_H

#include "locks/Age.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace storestate {

struct LockFile {
    std::string study;
    std::string path;
    int64_t ageSeconds; ///< less than 0: dated in the future, by more than clocks differ
    std::string user;   ///< whose process took the lock: the name, or the number of a user without one
    int64_t takenAt;    ///< in nanoseconds, to tell it from a later lock of the same study
};

/** The study's lock, be it a file or a link to nowhere; nothing when it is not locked. QXIOException: nobody knows. */
std::optional<LockFile> findLock(const std::string& study);

/** All locks of studies in the lock directory, oldest first. QXIOException: the directory cannot be read. */
std::vector<LockFile> findLocks();

/** Whether the lock is at least so old; one that is dated in the future counts as old. */
bool isOld(const LockFile& lock, int64_t seconds);

/** Those that are. */
std::vector<LockFile> olderThan(const std::vector<LockFile>& locks, int64_t seconds);

/** "held for 3 h 20 min by archive" */
std::string holderText(const LockFile& lock);

} // namespace storestate

#endif
