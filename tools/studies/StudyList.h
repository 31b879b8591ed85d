/** Which studies a command works on. */
#ifndef TOOLS_STUDIES_STUDYLIST_H
#define TOOLS_STUDIES_STUDYLIST_H

#include <cstdint>
#include <string>
#include <vector>

namespace storestate {

/** The identifiers of a list: each line as it is. Failure, naming the line: it is empty or holds a NUL character. */
std::vector<std::string> parseStudyList(const std::string& text);

/** The arguments, with "-" replaced by the list on standard input. Throws as parseStudyList(). */
std::vector<std::string> collectStudies(const std::vector<std::string>& arguments);

/** What the repository holds, in any layout. */
struct StudyWalk {
    bool empty = true;                   ///< no names except hidden ones and lost+found
    std::vector<std::string> studies;    ///< names of the directories with an information directory, sorted
    std::vector<std::string> unreadable; ///< the error of each directory that could not be read
};

/** Visits at most `limit` directories on the first three levels below REPOSITORY_DICOM_DATA. */
StudyWalk walkStudies(size_t limit = SIZE_MAX);

} // namespace storestate

#endif
