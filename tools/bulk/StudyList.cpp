#include "bulk/StudyList.h"

#include "bulk/StudyWalk.h"
#include "support/QXException.h"
#include "terminal/Text.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <iterator>

namespace storestate {
namespace {

constexpr char BYTE_ORDER_MARK[] = "\xEF\xBB\xBF";
constexpr char BLANKS[] = " \t\r";

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
    const char* root = getenv("REPOSITORY_DICOM_DATA");
    const StudyWalk walk = walkStudies(root != nullptr ? root : "");
    StudiesFound found = {{}, walk.unreadable};
    for (const std::string& path : walk.studies) {
        found.studies.push_back(path.substr(path.rfind('/') + 1));
    }
    std::sort(found.studies.begin(), found.studies.end());
    return found;
}

} // namespace storestate
