/** The locks of studies, and how to take one. */
#ifndef TOOLS_LOCKS_STUDYLOCKS_H
#define TOOLS_LOCKS_STUDYLOCKS_H

#include "storestate/StoreState.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace storestate {

struct LockFile {
    std::string study;
    std::string path;
    int64_t ageSeconds; ///< less than 0: dated in the future
    std::string user;   ///< the owner's name, or number without a name
};

/** The study's lock, a file or a dangling link; no value if it is not locked. QXIOException: lstat() failed. */
std::optional<LockFile> findLock(const std::string& study);

/** All locks of studies, oldest first. QXIOException: the lock directory cannot be read to its end. */
std::vector<LockFile> findLocks();

constexpr int64_t OLD_SECONDS = 600;     ///< no call holds a lock that long
constexpr int64_t CLOCK_DIFFERENCE = 60; ///< seconds by which the clock of a file server may be wrong unnoticed

/** Whether the lock has at least this age. Every lock has the age 0, also one dated in the future. */
bool isOld(const LockFile& lock, int64_t seconds);

/** "3 h"; "in the future" for less than 0. */
std::string ageText(int64_t seconds);

/** "held for 3 h by archive" */
std::string holderText(const LockFile& lock);

/** Who holds the study's lock now, the lock file, and what to do. */
std::string obstacleText(const std::string& study);

/**
 * Takes the lock of the record's study with single attempts, so that a signal (see Interruption.h) ends the wait at
 * once. With 0 seconds there is one attempt. After a second it reports the lock holder. Failure with STATUS_TIMEOUT or
 * the status of the signal: not taken. QXIOException: the lock file cannot be created.
 */
void takeLock(StoreState& state, int seconds);

} // namespace storestate

#endif
