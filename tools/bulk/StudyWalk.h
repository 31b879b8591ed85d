#ifndef TOOLS_BULK_STUDYWALK_H
#define TOOLS_BULK_STUDYWALK_H

#include <cstdint>
#include <string>
#include <vector>

namespace storestate {

/** What a look into a repository shows, however its plug-in lays it out. */
struct StudyWalk {
    bool empty = true;                   ///< nothing is there but what a fresh file system has
    std::vector<std::string> studies;    ///< paths of the directories with an information directory
    std::vector<std::string> unreadable; ///< directories that could not be looked into, and why
};

/** Looks at no more than `limit` directories, at most three levels down, which is where plug-ins put studies. */
StudyWalk walkStudies(const std::string& root, size_t limit = SIZE_MAX);

} // namespace storestate

#endif
