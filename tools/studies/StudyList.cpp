#include "studies/StudyList.h"

#include "files/Files.h"
#include "storestate/Environment.h"
#include "storestate/StudyPaths.h"
#include "support/QXException.h"
#include "terminal/Status.h"
#include "terminal/Text.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <utility>

namespace storestate {
namespace {

namespace fs = std::filesystem;

constexpr int LEVELS = 3;

/** Whether the path is a directory. An error other than its absence goes to `errors`. */
bool isDirectory(const fs::path& path, std::vector<std::string>& errors) {
    std::error_code error;
    const fs::file_type type = fs::status(path, error).type();
    if (type == fs::file_type::none || type == fs::file_type::unknown) {
        errors.push_back(READING_DIRECTORY_FAILED + path.string() + " " + error.message());
    }
    return type == fs::file_type::directory;
}

/** Hidden names, such as snapshots of the archive, and the directory that every new ext4 has. */
bool isIgnored(const std::string& name) {
    return name[0] == '.' || name == "lost+found";
}

} // namespace

std::vector<std::string> parseStudyList(const std::string& text) {
    std::vector<std::string> studies = splitLines(text);
    for (size_t i = 0; i < studies.size(); ++i) {
        if (studies[i].empty() || studies[i].find('\0') != std::string::npos) {
            throw Failure("Line " + std::to_string(i + 1) + " of the list of studies " +
                          (studies[i].empty() ? "is empty" : "holds a NUL character") +
                          "; each line is one study identifier, as it is. Nothing was done.");
        }
    }
    return studies;
}

std::vector<std::string> collectStudies(const std::vector<std::string>& arguments) {
    std::vector<std::string> all;
    for (const std::string& argument : arguments) {
        if (argument == "-") {
            const std::vector<std::string> list = parseStudyList({std::istreambuf_iterator<char>(std::cin), {}});
            if (ferror(stdin) != 0) {
                throw Failure("Reading the list of studies failed. Nothing was done.");
            }
            all.insert(all.end(), list.begin(), list.end());
        } else {
            all.push_back(argument);
        }
    }
    return all;
}

StudyWalk walkStudies(size_t limit) {
    StudyWalk found;
    size_t visits = 0;
    std::deque<std::pair<std::string, int>> left = {{environmentValue("REPOSITORY_DICOM_DATA"), 1}}; // paths and levels
    for (; !left.empty(); left.pop_front()) {
        const auto [directory, level] = left.front();
        std::vector<std::string> names;
        try {
            names = namesIn(directory);
        } catch (const QXException& failure) {
            found.unreadable.push_back(failure.message);
        }
        for (const std::string& name : names) {
            const std::string path = fs::path(directory) / name;
            found.empty = found.empty && isIgnored(name);
            if (isIgnored(name) || !isDirectory(path, found.unreadable)) {
                continue;
            }
            if (visits++ == limit) {
                return found;
            }
            if (isDirectory(infoDirectoryPath(path.c_str()).c_str(), found.unreadable)) {
                found.studies.push_back(name);
            } else if (level < LEVELS) {
                left.emplace_back(path, level + 1);
            }
        }
    }
    std::sort(found.studies.begin(), found.studies.end());
    return found;
}

} // namespace storestate
