/**
 * The commands of the operator's tool. Each prints its result on standard output and failures on standard error, and
 * returns an exit status. Impossible arguments throw a Failure with STATUS_USAGE.
 */
#ifndef TOOLS_COMMANDS_COMMANDS_H
#define TOOLS_COMMANDS_COMMANDS_H

#include "storestate/ModifyOptions.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace storestate {

using Studies = std::vector<std::string>;

/** Prints the records as they are stored; takes no lock and changes nothing. */
int showRecords(const Studies& studies, bool asJson);

struct ModifyRequest {
    std::string study;
    std::vector<OptionPair> options;
    bool isNew = false;  ///< the record must not exist yet; otherwise it must exist
    bool dryRun = false; ///< only report what would change, or why the call would fail
    int lockSeconds = StoreState::LOCK_SECONDS;
};

/** Applies the options as the Java method does. */
int changeRecord(const ModifyRequest& request);

struct ConvertRequest {
    Studies studies; ///< "-" stands for the identifiers on standard input
    bool dryRun = false;
    std::optional<int> lockSeconds;
};

/** Converts records of the earlier generation. A locked study is reported, and the run continues. */
int convertRecords(const ConvertRequest& request);

/** Checks the records and lists of the studies, by default of all, and counts what it finds. */
int verifyRecords(const Studies& studies);

/** Lists the identifiers of all studies in the repository. */
int listStudies();

/** Takes the study's lock so that it outlives the program. */
int takeAndKeepLock(const std::string& study, int lockSeconds);

/** Removes the locks of at least this age (by default 10 minutes) of these studies, or all, whoever took them. */
int removeLocks(Studies studies, std::optional<int64_t> minimumAge);

/** Lists the locks held for at least `seconds`. */
int listLocks(int64_t seconds, bool asJson);

} // namespace storestate

#endif
