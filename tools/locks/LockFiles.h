/** The lock files of studies, as the file system shows them. */
#ifndef TOOLS_LOCKS_LOCKFILES_H
#define TOOLS_LOCKS_LOCKFILES_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace storestate {

struct LockFile {
    std::string study;
    std::string path;
    int64_t ageSeconds;
    std::string user; ///< whose process took the lock: the name, or the number of a user without one
    int64_t takenAt;  ///< in nanoseconds, to tell it from a later lock of the same study
};

/** The study's lock; nothing when it is not locked. QXIOException: the file system does not say. */
std::optional<LockFile> findLock(const std::string& study);

/** All locks of studies in the lock directory, oldest first. QXIOException: the directory cannot be read. */
std::vector<LockFile> findLocks();

/** "3 h 20 min" */
std::string ageText(int64_t seconds);

} // namespace storestate

#endif
