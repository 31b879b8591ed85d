/** Which studies a command works on. */
#ifndef TOOLS_BULK_STUDYLIST_H
#define TOOLS_BULK_STUDYLIST_H

#include <string>
#include <vector>

namespace storestate {

/**
 * The identifiers of a list, one per line; blank lines, comments ("#") and a byte order mark are passed over, and so
 * are blanks at the end of a line. QXException: it holds NUL characters, as no list of identifiers does.
 */
std::vector<std::string> parseStudyList(const std::string& text);

/** The arguments, with "-" replaced by the list on standard input. */
std::vector<std::string> collectStudies(const std::vector<std::string>& arguments);

/** What lies in the repository. */
struct StudiesFound {
    std::vector<std::string> studies;
    std::vector<std::string> unreadable; ///< directories that could not be looked into
};

/**
 * The studies below REPOSITORY_DICOM_DATA, sorted: each directory that walkStudies() finds, under its own name.
 */
StudiesFound findStudies();

} // namespace storestate

#endif
