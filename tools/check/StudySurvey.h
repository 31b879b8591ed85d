#ifndef TOOLS_CHECK_STUDYSURVEY_H
#define TOOLS_CHECK_STUDYSURVEY_H

#include <string>
#include <vector>

namespace storestate {

/** What a short look into a repository shows, however its plug-in lays it out. */
struct StudySurvey {
    bool empty = true;                    ///< nothing is there but what a fresh file system has
    std::vector<std::string> studies;     ///< directories with an information directory, not all of them
    std::vector<std::string> temporaries; ///< temporary record files beside their records that nobody writes any more
};

/** Looks at no more than `limit` directories, a few levels deep; passes over what it may not read. */
StudySurvey surveyStudies(const std::string& root, size_t limit);

} // namespace storestate

#endif
