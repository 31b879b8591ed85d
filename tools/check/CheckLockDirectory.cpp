#include "check/CheckReport.h"
#include "check/Directories.h"

#include "locks/LockFiles.h"
#include "support/QXException.h"
#include "support/QXSemaphore.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace storestate {
namespace {

namespace fs = std::filesystem;

constexpr char VARIABLE[] = "LOCK_VAR";
constexpr int64_t OLD_SECONDS = 600; ///< no call holds a lock that long

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

/** Takes and gives back a lock of no study. */
bool tryLock(CheckReport& report, const std::string& path) {
    try {
        QXSemaphore semaphore("check." + std::to_string(getpid()), true);
        semaphore.lock(-1);
        semaphore.unlock();
        return true;
    } catch (const QXException& failure) {
        report.bad(VARIABLE, path + ": " + failure.message, remedyForWriting(failure.errorNumber));
        return false;
    }
}

void checkPlace(CheckReport& report, const std::string& path, const std::string& real) {
    const std::string ownDirectory = "take a directory of the server's own, such as /var/lib/storestate/locks";
    const std::string cleared = clearedDirectory(real);
    const std::string type = fileSystem(real);
    if (!cleared.empty()) {
        report.bad(VARIABLE, path + " lies in " + cleared + ", where the system clears files by age", ownDirectory);
    }
    if (!setting("REPOSITORY_DICOM_DATA").empty() && liesIn(real, realPath(setting("REPOSITORY_DICOM_DATA")))) {
        report.bad(VARIABLE, path + " lies in the repository, where the identifier of a study can reach its files",
                   ownDirectory);
    }
    if (type == "nfs vers=2") {
        report.bad(VARIABLE, path + " is on NFS version 2, where two hosts can take the same lock", "mount version 4");
    }
}

/** Whoever removes a lock may be another than who took it. */
void checkRights(CheckReport& report, mode_t mode) {
    const std::string remedy = "fine if all run as one user; otherwise one group and chmod 2770";
    if ((mode & S_ISVTX) != 0) {
        report.note(VARIABLE, "has the sticky bit: users cannot remove each other's locks", remedy);
    }
    if ((mode & (S_IRWXG | S_IRWXO)) == 0) {
        report.note(VARIABLE, "is closed to all but its owner: processes of other users cannot lock", remedy);
    }
}

void checkOldLocks(CheckReport& report) {
    std::vector<LockFile> locks;
    try {
        locks = findLocks();
    } catch (const QXException& failure) {
        report.unknown("locks", failure.message, "let the server's user list " + setting(VARIABLE));
        return;
    }
    const std::vector<LockFile> old = olderThan(locks, OLD_SECONDS);
    const std::string held = std::to_string(locks.size()) + " held";
    if (old.empty()) {
        report.good("locks", held);
        return;
    }
    report.note("locks",
                held + ", " + std::to_string(old.size()) + " for over " + ageText(OLD_SECONDS) + ", the oldest " +
                    holderText(old.front()) + ": " + old.front().study,
                "storestate locks --older-than 10m; storestate unlock those whose process is gone");
}

} // namespace

void checkLockDirectory(CheckReport& report) {
    struct stat status;
    struct statvfs space;
    const std::string path = setting(VARIABLE);
    if (!namesDirectory(report, VARIABLE, "lock files, the same for all processes") ||
        stat(path.c_str(), &status) != 0 || !tryLock(report, path)) {
        return;
    }
    CheckReport own([&](const Finding& finding) { report.add(finding); });
    const std::string real = realPath(path);
    checkPlace(own, path, real);
    checkRights(own, status.st_mode);
    if (statvfs(path.c_str(), &space) == 0) {
        checkSpace(own, VARIABLE, space);
    }
    if (own.worst() < Verdict::BAD) {
        report.good(VARIABLE, path + ", on " + fileSystem(real));
    }
    checkOldLocks(report);
}

} // namespace storestate
