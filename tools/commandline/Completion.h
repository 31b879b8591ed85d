#ifndef TOOLS_COMMANDLINE_COMPLETION_H
#define TOOLS_COMMANDLINE_COMPLETION_H

#include "commandline/CommandLine.h"

namespace storestate {

constexpr char COMPLETION_COMMAND[] = "--complete"; ///< what the shell's completion calls, before the words of the line

/**
 * Prints what the last word may become, each candidate with a NUL behind it. The words are those behind the program's
 * name. Nothing that a study or a lock is called is interpreted.
 */
int complete(const Words& words);

} // namespace storestate

#endif
