/** What the parts of the check that look at directories have in common. */
#ifndef TOOLS_CHECK_DIRECTORIES_H
#define TOOLS_CHECK_DIRECTORIES_H

#include "check/CheckReport.h"

#include <string>
#include <sys/statvfs.h>

namespace storestate {

/**
 * Whether the variable names a directory by its whole path; if not, that is BAD. `purpose` says whose directory it
 * should be.
 */
bool namesDirectory(CheckReport& report, const char* variable, const char* purpose);

/** The path without links; as it is when it leads nowhere. */
std::string realPath(const std::string& path);

/** Whether `path` is `directory` or lies in it; both without links. */
bool liesIn(const std::string& path, const std::string& directory);

struct Mount {
    std::string directory;
    std::string source;
    std::string type = "unknown";
    std::string options;
};

/** The file system that holds `path`, as the mount table has it. */
Mount mountOf(const std::string& path);

/** Its type, with the NFS version where there is one. */
std::string fileSystem(const std::string& path);

/** Whether the file system takes no new file. */
bool isFull(const struct statvfs& state);

/** Reports a file system without space or without inodes for an ordinary user, and one that is about to be. */
void checkSpace(CheckReport& report, const char* variable, const struct statvfs& state);

/** What to do when a file cannot be made for this reason. */
std::string remedyForWriting(int error);

} // namespace storestate

#endif
