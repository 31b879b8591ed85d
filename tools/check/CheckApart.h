#ifndef TOOLS_CHECK_CHECKAPART_H
#define TOOLS_CHECK_CHECKAPART_H

#include "check/CheckReport.h"

namespace storestate {

constexpr int CHECK_SECONDS = 5; ///< for all parts together

struct CheckPart {
    const char* subject;
    const char* remedy; ///< when it crashes or does not come to an end
    void (*look)(CheckReport&);
};

/**
 * Runs each part of the check in a process of its own, all at once, and ends what has not ended after CHECK_SECONDS: a
 * file system that is away, a plug-in that crashes and a database that never answers cost no more than what was still
 * to be found there. That is BAD. The findings come in the order of the parts.
 */
void checkApart(CheckReport& report, const std::vector<CheckPart>& parts);

} // namespace storestate

#endif
