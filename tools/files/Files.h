/** What several commands ask about files and directories. Nothing here changes a file. */
#ifndef TOOLS_FILES_FILES_H
#define TOOLS_FILES_FILES_H

#include <string>
#include <sys/types.h>
#include <unistd.h>
#include <vector>

namespace storestate {

/** The user's name, or the number of a user without a name. */
std::string userName(uid_t user);

/** The names in the directory, without "." and "..". QXIOException with errno: it cannot be read to its end. */
std::vector<std::string> namesIn(const std::string& directory);

constexpr int TO_LOCK = W_OK | X_OK;        ///< rights that a lock needs in the lock directory
constexpr int TO_SAVE = R_OK | W_OK | X_OK; ///< in a study's directory, which is opened to be synced

/** Why this user lacks these rights (as access() takes them), and who owns the path; empty when nothing is missing. */
std::string accessFault(const std::string& path, int rights);

/** "No space left on device", with the path, where an ordinary user gets neither space nor inodes; otherwise empty. */
std::string spaceFault(const std::string& path);

} // namespace storestate

#endif
