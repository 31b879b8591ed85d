#ifndef TOOLS_CHECK_CHECK_H
#define TOOLS_CHECK_CHECK_H

namespace storestate {

/** A monitoring system takes this for "no answer": wrong usage, or something could not be checked. */
constexpr int STATUS_MONITOR_UNKNOWN = 3;

struct CheckOptions {
    bool asJson = false;
    bool asMonitor = false; ///< a line in front and the statuses of monitoring plug-ins
};

/** Tells whether the library would work in this environment, and what to do if not. Returns the exit status. */
int checkEnvironment(const CheckOptions& options);

} // namespace storestate

#endif
