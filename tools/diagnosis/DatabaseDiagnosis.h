/** What is wrong with the database when a record cannot get its auto-forward devices, and what to do about it. */
#ifndef TOOLS_DIAGNOSIS_DATABASEDIAGNOSIS_H
#define TOOLS_DIAGNOSIS_DATABASEDIAGNOSIS_H

#include "storestate/StoreState.h"

#include <optional>
#include <string>

namespace storestate {

struct DatabaseFault {
    std::string text;   ///< what the database or the client library said, or which variable is wrong
    std::string remedy; ///< what to do
};

/**
 * Queries the auto-forward devices as the library does, and adds them to those of `record`. No value: that worked.
 * Waits for the database without a time limit.
 */
std::optional<DatabaseFault> askForDevices(StoreState& record);

/** What to do about the error with this number. */
std::string databaseRemedy(unsigned int number);

} // namespace storestate

#endif
