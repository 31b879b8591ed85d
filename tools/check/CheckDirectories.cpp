#include "check/CheckReport.h"

#include "support/QXException.h"
#include "support/QXSemaphore.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mntent.h>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace storestate {
namespace {

namespace fs = std::filesystem;

/** Whether `path` is `directory` or lies in it. */
bool liesIn(const std::string& path, const std::string& directory) {
    return directory == "/" || path == directory || path.compare(0, directory.size() + 1, directory + "/") == 0;
}

std::string realPath(const std::string& path) {
    std::error_code error;
    const fs::path real = fs::canonical(path, error);
    return error ? path : real.string();
}

/** Type of the file system that holds `path`, with the NFS version where there is one. */
std::string fileSystem(const std::string& path) {
    const std::unique_ptr<FILE, int (*)(FILE*)> mounts(setmntent("/proc/self/mounts", "r"), endmntent);
    std::string directory;
    std::string type = "unknown";
    while (const mntent* mount = mounts != nullptr ? getmntent(mounts.get()) : nullptr) {
        if (liesIn(path, mount->mnt_dir) && strlen(mount->mnt_dir) >= directory.size()) {
            directory = mount->mnt_dir;
            const char* version = hasmntopt(mount, "vers");
            type = mount->mnt_type + (version != nullptr ? " " + std::string(version, strcspn(version, ",")) : "");
        }
    }
    return type;
}

/** What a line of tmpfiles.d says: the path that it clears by age; empty when it clears none. */
std::string clearedPath(const std::string& line) {
    std::istringstream words(line);
    std::string type;
    std::string path;
    std::string mode;
    std::string user;
    std::string group;
    std::string age;
    words >> type >> path >> mode >> user >> group >> age;
    const bool clears = !type.empty() && strchr("dDvqQeC", type[0]) != nullptr && !age.empty() && age != "-";
    return clears ? path.substr(0, path.find_last_not_of('/') + 1) : "";
}

/** The directory that the system clears by age and that `path` lies in; empty when there is none. */
std::string clearedDirectory(const std::string& path) {
    std::vector<std::string> cleared = {"/tmp", "/var/tmp"};
    for (const char* configuration : {"/etc/tmpfiles.d", "/run/tmpfiles.d", "/usr/lib/tmpfiles.d"}) {
        std::error_code none;
        for (const auto& entry : fs::directory_iterator(configuration, none)) {
            std::ifstream file(entry.path());
            for (std::string line; std::getline(file, line);) {
                cleared.push_back(clearedPath(line));
            }
        }
    }
    for (const std::string& directory : cleared) {
        if (!directory.empty() && liesIn(path, directory)) {
            return directory;
        }
    }
    return "";
}

/** Reports an unset or empty variable and one that names no directory; true when all is well so far. */
bool namesDirectory(CheckReport& report, const char* variable, const char* purpose) {
    const char* value = getenv(variable);
    const std::string remedy = std::string("set it to the directory of the ") + purpose;
    if (value == nullptr || *value == '\0') {
        report.bad(variable, value == nullptr ? "not set" : "empty", remedy);
        return false;
    }
    struct stat status;
    errno = 0;
    if (stat(value, &status) != 0) {
        report.bad(variable, std::string(value) + ": " + strerror(errno), "make it, or " + remedy);
        return false;
    }
    if (!S_ISDIR(status.st_mode)) {
        report.bad(variable, std::string(value) + " is not a directory", remedy);
        return false;
    }
    if (*value != '/') {
        report.bad(variable, std::string(value) + " depends on where a process was started", "give the whole path");
        return false;
    }
    return true;
}

void checkRepository(CheckReport& report) {
    constexpr char VARIABLE[] = "REPOSITORY_DICOM_DATA";
    if (!namesDirectory(report, VARIABLE, "studies")) {
        return;
    }
    const std::string path = setting(VARIABLE);
    if (access(path.c_str(), R_OK | W_OK | X_OK) != 0) {
        report.bad(VARIABLE, path + ": " + strerror(errno), "let the server's user write there");
    } else {
        report.good(VARIABLE, path + ", on " + fileSystem(realPath(path)));
    }
}

/** Takes and gives back a lock of no study. */
void tryLock() {
    QXSemaphore semaphore("check." + std::to_string(getpid()), true);
    semaphore.lock(-1);
    semaphore.unlock();
}

void checkLocks(CheckReport& report) {
    constexpr char VARIABLE[] = "LOCK_VAR";
    if (!namesDirectory(report, VARIABLE, "lock files, the same for all processes")) {
        return;
    }
    const std::string path = setting(VARIABLE);
    const std::string real = realPath(path);
    const std::string cleared = clearedDirectory(real);
    try {
        tryLock();
    } catch (const QXException& failure) {
        report.bad(VARIABLE, path + ": " + failure.message, "let the server's user write there");
        return;
    }
    if (!cleared.empty()) {
        report.bad(VARIABLE, path + " lies in " + cleared + ", where the system clears files by age",
                   "take a directory of the server's own, such as /var/lib/storestate/locks");
    } else {
        report.good(VARIABLE, path + ", on " + fileSystem(real));
    }
    if (fileSystem(real) == "nfs vers=2") {
        report.bad(VARIABLE, path + " is on NFS version 2, where two hosts can take the same lock", "mount version 4");
    }
}

} // namespace

void checkDirectories(CheckReport& report) {
    checkRepository(report);
    checkLocks(report);
}

} // namespace storestate
