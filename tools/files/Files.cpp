#include "files/Files.h"

#include "storestate/FileError.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

namespace storestate {

namespace fs = std::filesystem;

std::string userName(uid_t user) {
    const passwd* entry = getpwuid(user);
    return entry != nullptr ? entry->pw_name : std::to_string(user);
}

std::vector<std::string> namesIn(const std::string& directory) {
    std::vector<std::string> names;
    std::error_code error;
    for (fs::directory_iterator entry(directory, error), end; !error && entry != end; entry.increment(error)) {
        names.push_back(entry->path().filename().string());
    }
    if (error) {
        throwFileError(READING_DIRECTORY_FAILED, directory.c_str(), error.value());
    }
    return names;
}

std::string accessFault(const std::string& path, int rights) {
    errno = 0;
    if (access(path.c_str(), rights) == 0) {
        return "";
    }
    const std::string fault = path + ": " + strerror(errno);
    struct stat status;
    const bool isOwned = errno == EACCES && lstat(path.c_str(), &status) == 0;
    return isOwned ? fault + "; it belongs to " + userName(status.st_uid) : fault;
}

std::string spaceFault(const std::string& path) {
    struct statvfs state;
    if (statvfs(path.c_str(), &state) != 0) {
        return "";
    }
    // A total of 0 means that the file system does not count.
    const bool hasSpace = state.f_blocks == 0 || state.f_bavail > 0;
    const bool hasInodes = state.f_files == 0 || state.f_favail > 0;
    return hasSpace && hasInodes ? "" : path + ": " + strerror(ENOSPC) + (hasSpace ? " (no inodes)" : "");
}

} // namespace storestate
