/** Questions about files and directories that several commands have. Nothing here changes a file. */
#ifndef TOOLS_FILES_FILES_H
#define TOOLS_FILES_FILES_H

#include <string>
#include <sys/types.h>
#include <unistd.h>
#include <vector>

namespace storestate {

/** The user's name, or the number of a user without a name. */
std::string userName(uid_t user);

constexpr char READING_DIRECTORY_FAILED[] = "Reading directory failed: ";

/** The names in the directory, without "." and "..". QXIOException with errno: it cannot be read to its end. */
std::vector<std::string> namesIn(const std::string& directory);

constexpr int TO_LOCK = W_OK | X_OK;        ///< rights that a lock needs in the lock directory
constexpr int TO_SAVE = R_OK | W_OK | X_OK; ///< in a study's directory, which is opened to be synced

/** Which error access() reports for these rights, and who owns the path; empty if the user has them. */
std::string accessFault(const std::string& path, int rights);

/** "No space left on device", with the path, if an ordinary user can get no space or inode there; otherwise empty. */
std::string spaceFault(const std::string& path);

} // namespace storestate

#endif
