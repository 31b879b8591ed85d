#include "check/CheckReport.h"
#include "check/Directories.h"
#include "check/StudySurvey.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace storestate {
namespace {

constexpr char VARIABLE[] = "REPOSITORY_DICOM_DATA";
constexpr size_t LOOKS = 1000; ///< directories; a whole archive is for `storestate verify`

void checkStudies(CheckReport& report, const std::string& root) {
    const StudySurvey survey = surveyStudies(root, LOOKS);
    if (survey.empty) {
        report.note(VARIABLE, root + " holds no study",
                    "fine for a new archive; otherwise mount the archive: an empty mount point looks the same");
    }
    if (!survey.temporaries.empty()) {
        report.note("temporary files",
                    std::to_string(survey.temporaries.size()) + " left by processes that died, such as " +
                        survey.temporaries.front(),
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
