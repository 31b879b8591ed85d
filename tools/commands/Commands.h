/**
 * The commands of the operator's tool. Each prints its result on standard output and what went wrong on standard
 * error, and returns an exit status. They belong to the program's one thread.
 */
#ifndef TOOLS_COMMANDS_COMMANDS_H
#define TOOLS_COMMANDS_COMMANDS_H

#include <cstdint>
#include <string>
#include <vector>

namespace storestate {

/** What the program's exit status says. */
enum Status : int {
    STATUS_DONE = 0,
    STATUS_FAILED = 1,
    STATUS_USAGE = 2,
    STATUS_EXISTENCE = 3, ///< the record does not exist or, where it must not, exists
    STATUS_TIMEOUT = 4,   ///< the lock was not to be had in time
};

/** Prints the records as they are stored; takes no lock and changes nothing. */
int showRecords(const std::vector<std::string>& studies, bool asJson);

/** Applies pairs of option and value as the Java method does, but refuses names that are no options. */
int modifyRecord(const std::string& study, int32_t existenceMode, const std::vector<std::string>& options,
                 bool lockHeld);

/** Converts the records of an earlier generation; "-" stands for the identifiers on standard input. */
int convertRecords(const std::vector<std::string>& studies, bool dryRun);

int lockStudyForever(const std::string& study);

/** Removes the lock, whoever took it; asks first on a terminal unless `force`. */
int unlockHeldStudy(const std::string& study, bool force);

/** Lists the locks held for at least `seconds`. */
int listLocks(int64_t seconds, bool asJson);

/** What a monitoring system takes for "no answer": wrong usage, or not all could be looked at. */
constexpr int STATUS_MONITOR_UNKNOWN = 3;

struct CheckOptions {
    bool asJson = false;
    bool quiet = false;     ///< only what is not good
    bool asMonitor = false; ///< a line in front and statuses as monitoring systems take them
};

/** Tells whether the library would work in this environment, and what to do if not. */
int checkEnvironment(const CheckOptions& options);

} // namespace storestate

#endif
