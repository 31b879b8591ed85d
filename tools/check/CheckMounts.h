#ifndef TOOLS_CHECK_CHECKMOUNTS_H
#define TOOLS_CHECK_CHECKMOUNTS_H

#include "check/CheckReport.h"
#include "check/Directories.h"

namespace storestate {

/** Whether several hosts may work on what the mount leads to, as far as its client shows its options. */
void checkMount(CheckReport& report, const std::string& subject, const Mount& mount);

} // namespace storestate

#endif
