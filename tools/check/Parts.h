/** The parts of the check, each in a separate process. */
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
 * Runs all parts at once, each in a separate process, and kills the parts that have not ended after CHECK_SECONDS. A
 * part that hangs or crashes, for instance because of a file system, the plug-in or the database, is reported as BAD,
 * and its earlier findings are kept. The findings are in the order of the parts.
 */
Findings runApart(const std::vector<CheckPart>& parts);

void checkRepository(const Report& report);
void checkLockDirectory(const Report& report);
void checkPlugin(const Report& report);
void checkDatabase(const Report& report);
void checkSystemLog(const Report& report);

/** Whether somebody reads the system log's socket. Waits a second at most. */
Finding logFinding(const char* path);

} // namespace storestate

#endif
