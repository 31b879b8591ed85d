#ifndef TOOLS_COMMANDLINE_COMMANDLINE_H
#define TOOLS_COMMANDLINE_COMMANDLINE_H

#include <string>
#include <vector>

namespace storestate {

/** Runs the command of the words behind the program's name; without words prints help. Returns the exit status. */
int runCommandLine(const std::vector<std::string>& words);

} // namespace storestate

#endif
