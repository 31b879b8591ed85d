/** The parts of the check, each in a process of its own. */
#ifndef TOOLS_CHECK_PARTS_H
#define TOOLS_CHECK_PARTS_H

#include "check/Findings.h"

namespace storestate {

constexpr int CHECK_SECONDS = 5; ///< for all parts together

struct CheckPart {
    const char* subject;
    const char* remedy; ///< when it crashes or hangs
    void (*run)(const Report&);
};

/**
 * Runs all parts at once, each in a process of its own, and ends what has not ended after CHECK_SECONDS: a file system
 * that hangs, a plug-in that crashes and a database that never answers cost only what they would still have found, and
 * are BAD. The findings come in the order of the parts.
 */
Findings runApart(const std::vector<CheckPart>& parts);

void checkRepository(const Report& report);
void checkLockDirectory(const Report& report);
void checkPlugin(const Report& report);
void checkDatabase(const Report& report);
void checkSystemLog(const Report& report);

/** Whether somebody reads the system log's socket; the finding does not wait longer than a second. */
Finding logFinding(const char* path);

} // namespace storestate

#endif
