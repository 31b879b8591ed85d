#include "record/TemporaryRecords.h"

#include "storestate/StudyPaths.h"

#include <filesystem>

namespace storestate {

namespace fs = std::filesystem;

std::vector<std::string> temporaryRecords(const std::string& studyDirectory) {
    const std::string begin = std::string(recordPath(studyDirectory.c_str()).c_str()) + "."; // the process id follows
    std::vector<std::string> paths;
    std::error_code unreadable;
    for (const auto& entry : fs::directory_iterator(infoDirectoryPath(studyDirectory.c_str()).c_str(), unreadable)) {
        const std::string path = entry.path().string();
        if (path.compare(0, begin.size(), begin) == 0 &&
            path.find_first_not_of("0123456789", begin.size()) == std::string::npos) {
            paths.push_back(path);
        }
    }
    return paths;
}

} // namespace storestate
