#include "bulk/StudyWalk.h"

#include "storestate/StudyPaths.h"

#include <deque>
#include <filesystem>
#include <utility>

namespace storestate {
namespace {

namespace fs = std::filesystem;

constexpr int LEVELS = 3;

/** What an empty archive has, too, and snapshots of a whole one. */
bool isNoStudy(const std::string& name) {
    return name[0] == '.' || name == "lost+found";
}

} // namespace

StudyWalk walkStudies(const std::string& root, size_t limit) {
    StudyWalk found;
    std::deque<std::pair<std::string, int>> directories = {{root, 0}}; // and their levels; no study's own
    for (size_t looks = 0; !directories.empty(); directories.pop_front()) {
        const auto [directory, level] = directories.front();
        std::error_code error;
        for (fs::directory_iterator entry(directory, error), end; !error && entry != end; entry.increment(error)) {
            std::error_code none;
            if (isNoStudy(entry->path().filename().string())) {
                continue;
            }
            found.empty = false;
            if (!entry->is_directory(none)) {
                continue;
            }
            if (looks++ == limit) {
                return found;
            }
            const std::string path = entry->path().string();
            if (fs::is_directory(infoDirectoryPath(path.c_str()).c_str(), none)) {
                found.studies.push_back(path);
            } else if (level + 1 < LEVELS) {
                directories.emplace_back(path, level + 1);
            }
        }
        if (error) {
            found.unreadable.push_back(directory + ": " + error.message());
        }
    }
    return found;
}

} // namespace storestate
