#include "check/Directories.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <mntent.h>
#include <sys/stat.h>

namespace storestate {
namespace {

constexpr unsigned int SCARCE_PERCENT = 1;

/** Never of a total of 0, which means that the file system does not count it. */
bool isScarce(fsfilcnt_t left, fsfilcnt_t total) {
    return left < total / 100 * SCARCE_PERCENT;
}

bool hasNoSpace(const struct statvfs& state) {
    return state.f_blocks > 0 && state.f_bavail == 0;
}

bool hasNoInodes(const struct statvfs& state) {
    return state.f_files > 0 && state.f_favail == 0;
}

/** The mount is there, but what it leads to is not. */
bool isAway(int error) {
    return error == EIO || error == ESTALE || error == ENOTCONN || error == ETIMEDOUT || error == EHOSTDOWN;
}

} // namespace

bool namesDirectory(CheckReport& report, const char* variable, const char* purpose) {
    const std::string remedy = std::string("set it to the directory of the ") + purpose;
    if (!requireSetting(report, variable, remedy)) {
        return false;
    }
    const std::string path = setting(variable);
    struct stat status;
    errno = 0;
    if (stat(path.c_str(), &status) != 0) {
        const int error = errno;
        report.bad(variable, path + ": " + strerror(error),
                   isAway(error)     ? "repair the mount, or the server behind it"
                   : error == EACCES ? "let the server's user through all directories of the path"
                                     : "mount or make it, or " + remedy);
        return false;
    }
    if (!S_ISDIR(status.st_mode)) {
        report.bad(variable, path + " is not a directory", remedy);
        return false;
    }
    if (path[0] != '/') {
        report.bad(variable, path + " depends on where a process was started", "give the whole path");
        return false;
    }
    return true;
}

std::string realPath(const std::string& path) {
    std::error_code error;
    const std::filesystem::path real = std::filesystem::canonical(path, error);
    return error ? path : real.string();
}

bool liesIn(const std::string& path, const std::string& directory) {
    return directory == "/" || path == directory || path.compare(0, directory.size() + 1, directory + "/") == 0;
}

Mount mountOf(const std::string& path) {
    const std::unique_ptr<FILE, int (*)(FILE*)> mounts(setmntent("/proc/self/mounts", "r"), endmntent);
    Mount found;
    while (const mntent* mount = mounts != nullptr ? getmntent(mounts.get()) : nullptr) {
        if (liesIn(path, mount->mnt_dir) && strlen(mount->mnt_dir) >= found.directory.size()) {
            found = {mount->mnt_dir, mount->mnt_fsname, mount->mnt_type, mount->mnt_opts};
        }
    }
    return found;
}

std::string fileSystem(const std::string& path) {
    const Mount mount = mountOf(path);
    mntent entry = {};
    entry.mnt_opts = const_cast<char*>(mount.options.c_str());
    const char* version = hasmntopt(&entry, "vers");
    return mount.type + (version != nullptr ? " " + std::string(version, strcspn(version, ",")) : "");
}

bool isFull(const struct statvfs& state) {
    return hasNoSpace(state) || hasNoInodes(state);
}

void checkSpace(CheckReport& report, const char* variable, const struct statvfs& state) {
    const std::string path = setting(variable);
    const std::string remedy = "free some: new records and locks are small files";
    const std::string inodeRemedy = "delete files that nobody needs, however small, or make the file system larger";
    const std::string left = std::to_string(state.f_bavail * state.f_frsize / 1048576) + " MiB";
    if (hasNoSpace(state)) {
        report.bad(variable, path + ": the disk is full", remedy);
    } else if (isScarce(state.f_bavail, state.f_blocks)) {
        report.note(variable, path + ": the disk is nearly full: " + left + " left", remedy);
    }
    if (hasNoInodes(state)) {
        report.bad(variable, path + ": the file system has no inodes left", inodeRemedy);
    } else if (isScarce(state.f_favail, state.f_files)) {
        report.note(variable, path + ": the file system has only " + std::to_string(state.f_favail) + " inodes left",
                    inodeRemedy);
    }
}

std::string remedyForWriting(int error) {
    switch (error) {
    case ENOSPC:
    case EDQUOT:
        return "free space and inodes there, or raise the quota";
    case EROFS:
        return "see why it is mounted read-only (the kernel's log), and mount it for writing";
    default:
        return isAway(error) ? "repair the mount, or the server behind it" : "let the server's user write there";
    }
}

} // namespace storestate
