/** How a failure reaches the operator: one line on standard error, and the exit status. */
#ifndef TOOLS_COMMANDS_FAILURE_H
#define TOOLS_COMMANDS_FAILURE_H

#include "commands/Commands.h"

#include <functional>

namespace storestate {

/** Prints "storestate: <study>: <text>" on standard error and returns `status`. `subject`: a study, or a command. */
int complain(const std::string& subject, const std::string& text, Status status);

/** Runs `work`; turns an exception of the library into its explanation and the exit status. */
int guarded(const std::string& subject, const std::function<int()>& work);

/** The exit status for several studies: that of the failures if they agree, otherwise STATUS_FAILED. */
int combined(int before, int next);

} // namespace storestate

#endif
