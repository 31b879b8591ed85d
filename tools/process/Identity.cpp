#include "process/Identity.h"

#include "process/Users.h"
#include "storestate/StudyPaths.h"
#include "terminal/Text.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace storestate {
namespace {

bool rootGivenUp = false;

struct User {
    std::string name; ///< empty: a number without a name
    uid_t id;
    gid_t group;
};

const passwd* findUser(const std::string& user) {
    const passwd* entry = getpwnam(user.c_str());
    return entry == nullptr && isNumber(user) ? getpwuid(static_cast<uid_t>(strtoul(user.c_str(), nullptr, 10)))
                                              : entry;
}

std::string become(const User& user) {
    const bool changed =
        (user.name.empty() ? setgroups(1, &user.group) : initgroups(user.name.c_str(), user.group)) == 0 &&
        setresgid(user.group, user.group, user.group) == 0 && setresuid(user.id, user.id, user.id) == 0;
    if (!changed) {
        return "Becoming " + userName(user.id) + " failed: " + strerror(errno);
    }
    rootGivenUp = true;
    return "";
}

/** Who else owns the file, after root was given up. */
std::string otherOwner(const std::string& path) {
    struct stat status;
    const bool isOther = rootGivenUp && lstat(path.c_str(), &status) == 0 && status.st_uid != geteuid();
    return isOther ? userName(status.st_uid) : "";
}

std::string belonging(const std::string& path, const std::string& owner) {
    return path + " belongs to " + owner + ", not to " + userName(geteuid());
}

std::string becomeOwner() {
    const char* root = getenv("REPOSITORY_DICOM_DATA");
    struct stat status;
    if (root == nullptr || stat(root, &status) != 0) {
        return std::string("Root becomes the owner of REPOSITORY_DICOM_DATA first, but that is ") +
               (root == nullptr ? "not set" : strerror(errno)) + "; --as USER names the server's user";
    }
    if (status.st_uid == 0) {
        return std::string("The repository ") + root +
               " belongs to root: what root writes the server may not be able to read. --as USER names the server's "
               "user, --as root insists";
    }
    const passwd* entry = getpwuid(status.st_uid);
    return become(entry != nullptr ? User{entry->pw_name, entry->pw_uid, entry->pw_gid}
                                   : User{"", status.st_uid, status.st_gid});
}

} // namespace

std::string takeIdentity(const std::string& user) {
    const bool isRoot = geteuid() == 0;
    if (user.empty()) {
        return isRoot ? becomeOwner() : "";
    }
    const passwd* entry = findUser(user);
    if (entry == nullptr) {
        return "There is no user " + user;
    }
    if (entry->pw_uid == geteuid()) {
        return "";
    }
    return isRoot ? become({entry->pw_name, entry->pw_uid, entry->pw_gid}) : "Only root can become " + user;
}

std::string foreignOwner(const std::string& path) {
    const std::string owner = otherOwner(path);
    return owner.empty() ? "" : belonging(path, owner) + ": --as " + owner + " if that is right";
}

std::string foreignPart(const std::string& studyDirectory) {
    if (studyDirectory.empty()) {
        return "";
    }
    const OFString directory = studyDirectory.c_str();
    for (const OFString& path : {directory, infoDirectoryPath(directory), recordPath(directory)}) {
        const std::string owner = otherOwner(path.c_str());
        if (!owner.empty()) {
            return belonging(path.c_str(), owner) + ": chown -R " + userName(geteuid()) + ": " +
                   shellWord(studyDirectory) + ", or --as " + owner + " if that is right";
        }
    }
    return "";
}

mode_t fittingUmask(mode_t mode) {
    constexpr mode_t READ = 044;
    constexpr mode_t WRITE = 022;
    const mode_t unreadable = ~mode & READ;
    return unreadable | unreadable >> 2U | (~mode & WRITE); // whoever may not read a file may not search a directory
}

void fitUmask(const std::string& path) {
    struct stat status;
    for (std::string at = path; !at.empty();
         at.erase(at.find_last_of('/') == std::string::npos ? 0 : at.find_last_of('/'))) {
        if (stat(at.c_str(), &status) == 0) {
            umask(fittingUmask(status.st_mode));
            return;
        }
    }
}

} // namespace storestate
