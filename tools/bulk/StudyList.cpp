#include "bulk/StudyList.h"

#include "storestate/StudyPaths.h"
#include "support/QXException.h"
#include "terminal/Text.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <iterator>

namespace storestate {
namespace {

namespace fs = std::filesystem;

constexpr char BYTE_ORDER_MARK[] = "\xEF\xBB\xBF";
constexpr char BLANKS[] = " \t\r";
constexpr int DEPTH = 3;
constexpr char FOUND_BY_FSCK[] = "lost+found"; ///< on every ext4 file system; only root looks into it

void search(const fs::path& directory, int depth, StudiesFound& found) {
    std::error_code error;
    for (fs::directory_iterator entry(directory, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code none;
        const fs::path& path = entry->path();
        if (path.filename() == FOUND_BY_FSCK || !entry->is_directory(none)) {
            continue;
        }
        if (fs::is_directory(infoDirectoryPath(path.c_str()).c_str(), none)) {
            found.studies.push_back(path.filename());
        } else if (depth > 1) {
            search(path, depth - 1, found);
        }
    }
    if (error) {
        found.unreadable.push_back(directory.string() + ": " + error.message());
    }
}

} // namespace

std::vector<std::string> parseStudyList(const std::string& text) {
    if (text.find('\0') != std::string::npos) {
        throw QXException(1, "The list of studies holds NUL characters; it has to have one identifier per line");
    }
    const bool marked = text.compare(0, sizeof BYTE_ORDER_MARK - 1, BYTE_ORDER_MARK) == 0;
    std::vector<std::string> studies;
    for (std::string& line : splitLines(marked ? text.substr(sizeof BYTE_ORDER_MARK - 1) : text)) {
        line.erase(line.find_last_not_of(BLANKS) + 1);
        const size_t first = line.find_first_not_of(BLANKS);
        if (first != std::string::npos && line[first] != '#') {
            studies.push_back(line);
        }
    }
    return studies;
}

std::vector<std::string> collectStudies(const std::vector<std::string>& arguments) {
    std::vector<std::string> all;
    for (const std::string& argument : arguments) {
        const std::vector<std::string> more = argument == "-"
                                                  ? parseStudyList({std::istreambuf_iterator<char>(std::cin), {}})
                                                  : std::vector<std::string>{argument};
        all.insert(all.end(), more.begin(), more.end());
    }
    return all;
}

StudiesFound findStudies() {
    StudiesFound found;
    const char* root = getenv("REPOSITORY_DICOM_DATA");
    search(root != nullptr ? root : "", DEPTH, found);
    std::sort(found.studies.begin(), found.studies.end());
    return found;
}

} // namespace storestate
