/** How a failure reaches the operator: one line on standard error, and the exit status. */
#ifndef TOOLS_COMMANDS_FAILURE_H
#define TOOLS_COMMANDS_FAILURE_H

#include "commands/Commands.h"
#include "storestate/StoreState.h"

#include <functional>

namespace storestate {

/** Prints "storestate: <study>: <text>" on standard error and returns `status`. */
int complain(const std::string& study, const std::string& text, Status status);

/** Runs `work` on one study; turns an exception of the library into its rendering and the exit status. */
int guarded(const std::string& study, const std::function<int()>& work);

/**
 * Throws the QXException that the library would only write to the system log when the plug-in cannot be loaded or
 * cannot find a study, so that this is not taken for a study without a record.
 */
void requirePlugin();

/** Saves the record; also its one failure without an exception becomes one. */
void saveOrThrow(StoreState& state);

/** The exit status for several studies: that of the failures if they agree, otherwise STATUS_FAILED. */
int combined(int before, int status);

} // namespace storestate

#endif
