#include "bulk/StudyWalk.h"
#include "check/CheckReport.h"
#include "check/Directories.h"
#include "record/TemporaryRecords.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>

namespace storestate {
namespace {

constexpr char VARIABLE[] = "REPOSITORY_DICOM_DATA";
constexpr size_t LOOKS = 1000;         ///< directories; a whole archive is for `storestate verify`
constexpr int64_t WRITE_SECONDS = 600; ///< no call writes that long

bool isOld(const std::string& path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 && time(nullptr) - status.st_mtime >= WRITE_SECONDS;
}

void checkStudies(CheckReport& report, const std::string& root) {
    const StudyWalk walk = walkStudies(root, LOOKS);
    if (walk.empty) {
        report.note(VARIABLE, root + " holds no study",
                    "fine for a new archive; otherwise mount the archive: an empty mount point looks the same");
    }
    std::vector<std::string> left;
    for (const std::string& study : walk.studies) {
        const std::vector<std::string> temporaries = temporaryRecords(study);
        std::copy_if(temporaries.begin(), temporaries.end(), std::back_inserter(left), isOld);
    }
    if (!left.empty()) {
        report.note("temporary files",
                    std::to_string(left.size()) + " left by processes that died, such as " + left.front(),
                    "storestate verify finds all of them; they can be deleted");
    }
}

} // namespace

void checkRepository(CheckReport& report) {
    if (!namesDirectory(report, VARIABLE, "studies")) {
        return;
    }
    const std::string path = setting(VARIABLE);
    CheckReport own([&](const Finding& finding) { report.add(finding); });
    struct statvfs space;
    errno = 0;
    if (access(path.c_str(), R_OK | W_OK | X_OK) != 0) {
        const int error = errno;
        own.bad(VARIABLE, path + ": " + strerror(error), remedyForWriting(error));
    }
    if (statvfs(path.c_str(), &space) == 0) {
        checkSpace(own, VARIABLE, space);
    }
    if (own.worst() < Verdict::BAD) {
        report.good(VARIABLE, path + ", on " + fileSystem(realPath(path)));
    }
    checkStudies(report, path);
}

} // namespace storestate
