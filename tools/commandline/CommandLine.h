#ifndef TOOLS_COMMANDLINE_COMMANDLINE_H
#define TOOLS_COMMANDLINE_COMMANDLINE_H

#include <string>
#include <vector>

namespace storestate {

/** Runs the command that the arguments name; without arguments prints the help. Returns the exit status. */
int runCommandLine(const std::vector<std::string>& words);

} // namespace storestate

#endif
