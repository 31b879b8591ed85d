#include "check/StudySurvey.h"

#include "record/TemporaryRecords.h"
#include "storestate/StudyPaths.h"

#include <algorithm>
#include <ctime>
#include <deque>
#include <filesystem>
#include <iterator>
#include <sys/stat.h>

namespace storestate {
namespace {

namespace fs = std::filesystem;

constexpr int LEVELS = 3;              ///< of directories below the root, down to the studies
constexpr int64_t WRITE_SECONDS = 600; ///< no call writes that long

bool isOld(const std::string& path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 && time(nullptr) - status.st_mtime >= WRITE_SECONDS;
}

/** What an empty archive has, too. */
bool isNoStudy(const std::string& name) {
    return name[0] == '.' || name == "lost+found";
}

void lookAtStudy(StudySurvey& survey, const std::string& study) {
    survey.studies.push_back(study);
    const std::vector<std::string> temporaries = temporaryRecords(study);
    std::copy_if(temporaries.begin(), temporaries.end(), std::back_inserter(survey.temporaries), isOld);
}

} // namespace

StudySurvey surveyStudies(const std::string& root, size_t limit) {
    StudySurvey survey;
    std::deque<std::pair<std::string, int>> directories = {{root, 0}}; // and their levels; no study's own
    for (size_t looks = 0; !directories.empty(); directories.pop_front()) {
        const auto [directory, level] = directories.front();
        std::error_code unreadable;
        for (fs::directory_iterator entry(directory, unreadable), end; entry != end; entry.increment(unreadable)) {
            if (isNoStudy(entry->path().filename().string())) {
                continue;
            }
            survey.empty = false;
            if (!entry->is_directory(unreadable)) {
                continue;
            }
            if (looks++ == limit) {
                return survey;
            }
            const std::string path = entry->path().string();
            if (fs::exists(infoDirectoryPath(path.c_str()).c_str(), unreadable)) {
                lookAtStudy(survey, path);
            } else if (level + 1 < LEVELS) {
                directories.emplace_back(path, level + 1);
            }
        }
    }
    return survey;
}

} // namespace storestate
