#ifndef TOOLS_CHECK_CHECK_H
#define TOOLS_CHECK_CHECK_H

namespace storestate {

/** Means "unknown" to a monitoring system: wrong usage, or something could not be checked. */
constexpr int STATUS_MONITOR_UNKNOWN = 3;

struct CheckOptions {
    bool asJson = false;
    bool asMonitor = false; ///< a summary line first, and the exit statuses of monitoring plug-ins
};

/** Prints whether the library can work in this environment, and what to do if not. Returns the exit status. */
int checkEnvironment(const CheckOptions& options);

} // namespace storestate

#endif
