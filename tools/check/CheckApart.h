#ifndef TOOLS_CHECK_CHECKAPART_H
#define TOOLS_CHECK_CHECKAPART_H

#include "check/CheckReport.h"

namespace storestate {

constexpr int CHECK_SECONDS = 5; ///< for a part of the check

/**
 * Runs a part of the check in a process of its own, which is ended after CHECK_SECONDS: a file system that is away, a
 * plug-in that crashes and a database that never answers cost no more than what was still to be found there. That is
 * BAD, under `subject` and with `remedy`.
 */
void checkApart(CheckReport& report, const char* subject, const char* remedy, void (*part)(CheckReport&));

} // namespace storestate

#endif
