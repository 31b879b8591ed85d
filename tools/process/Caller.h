/** Who calls the tool, and the library's environment variables. */
#ifndef TOOLS_PROCESS_CALLER_H
#define TOOLS_PROCESS_CALLER_H

#include <optional>
#include <string>
#include <vector>

namespace storestate {

/**
 * Failure if root calls the program, with the command to type instead. The server may be unable to read files written
 * by root, and the plug-in would run with root's rights. `words`: the command line.
 */
void refuseRoot(const std::vector<std::string>& words);

/**
 * Replaces all of the library's variables by those of the process with this number. Failure: it is not a process that
 * the calling user started, or has none of the variables.
 */
void takeEnvironment(const std::string& process);

/** Failure if one of the variables is not an absolute path. `process`: the process that they come from, if any. */
void requireVariables(const std::vector<std::string>& names, const std::optional<std::string>& process);

} // namespace storestate

#endif
