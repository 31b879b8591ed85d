/**
 * The commands of the operator's tool. Each prints its result on standard output and what went wrong on standard
 * error, and returns an exit status. They belong to the program's one thread.
 */
#ifndef TOOLS_COMMANDS_COMMANDS_H
#define TOOLS_COMMANDS_COMMANDS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace storestate {

/** What the program's exit status says; a signal adds 128 to its number. */
enum Status : int {
    STATUS_DONE = 0,
    STATUS_FAILED = 1,
    STATUS_USAGE = 2,
    STATUS_EXISTENCE = 3, ///< the record does not exist or, where it must not, exists
    STATUS_TIMEOUT = 4,   ///< the lock was not to be had in time
};

using Studies = std::vector<std::string>;

/** Prints the records as they are stored; takes no lock and changes nothing. */
int showRecords(const Studies& studies, bool asJson);

struct ModifyRequest {
    std::string study;
    std::vector<std::string> options; ///< pairs of option and value
    int32_t existenceMode = 0;
    bool lockHeld = false; ///< by the caller
    bool dryRun = false;   ///< only say what would change, or why the call would fail
    int lockSeconds = 0;
};

/** The names of all options that `modify` takes, long and short. */
std::vector<std::string> modifyOptionNames();

/** Applies the options as the Java method does, but refuses names that are no options. */
int modifyRecord(const ModifyRequest& request);

struct ConvertRequest {
    Studies studies; ///< "-" stands for the identifiers on standard input
    bool dryRun = false;
    bool damaged = false; ///< convert damaged records, too, and keep the originals
    int lockSeconds = 0;
};

/** Converts the records of an earlier generation. */
int convertRecords(const ConvertRequest& request);

/** Looks at every record and list of the studies, without any at all studies, and counts what it finds. */
int verifyRecords(const Studies& studies);

/** Lists the identifiers of all studies in the repository. */
int listStudies();

/** Takes the study's lock so that it outlives the program. */
int takeLockForGood(const std::string& study, int lockSeconds);

/**
 * Removes the locks of the studies, whoever took them, or of all studies, if they are at least so old; shows them and
 * asks first on a terminal unless `force`.
 */
int removeLocks(const Studies& studies, std::optional<int64_t> minimumAge, bool force);

/** Lists the locks held for at least `seconds`. */
int listLocks(int64_t seconds, bool asJson);

/** What a monitoring system takes for "no answer": wrong usage, or not all could be looked at. */
constexpr int STATUS_MONITOR_UNKNOWN = 3;

struct CheckOptions {
    bool asJson = false;
    bool quiet = false;        ///< only what is not good
    bool asMonitor = false;    ///< a line in front and statuses as monitoring systems take them
    std::string identityFault; ///< why the check speaks for root and not for the server's user; empty: it does
};

/** Tells whether the library would work in this environment, and what to do if not. */
int checkEnvironment(const CheckOptions& options);

} // namespace storestate

#endif
