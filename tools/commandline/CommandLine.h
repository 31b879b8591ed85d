#ifndef TOOLS_COMMANDLINE_COMMANDLINE_H
#define TOOLS_COMMANDLINE_COMMANDLINE_H

#include <string>
#include <vector>

namespace storestate {

/** Runs what the words behind the program's name ask for; returns the exit status. Throws nothing. */
int runCommandLine(const std::vector<std::string>& words);

} // namespace storestate

#endif
