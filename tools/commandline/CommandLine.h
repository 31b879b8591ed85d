#ifndef TOOLS_COMMANDLINE_COMMANDLINE_H
#define TOOLS_COMMANDLINE_COMMANDLINE_H

#include "commands/Commands.h"

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

namespace storestate {

using Words = std::vector<std::string>;

/** With whose rights a command works when root calls it. */
enum class Rights { CALLER, OWNER, OWNER_IF_POSSIBLE };

/** What the command line says. */
struct Request {
    Studies studies;
    Words behindSeparator; ///< what stands behind "--", never looked at by the parser
    bool hasSeparator = false;
    std::string minimumAge;
    bool mustNotExist = false;
    bool mustExist = false;
    bool lockHeld = false;
    bool dryRun = false;
    bool damaged = false;
    bool force = false;
    bool asJson = false;
    int lockSeconds = -1; ///< less than 0: as long as the library waits
    CheckOptions check;

    std::string user;       ///< whose rights to work with
    std::string process;    ///< whose environment to take over
    Words environmentFiles; ///< the same, from files

    // What the command asks for, known once the line has been parsed.
    std::function<int()> run;
    Words variables; ///< without which it cannot work
    Rights rights = Rights::CALLER;
};

/** Describes all commands and options to the parser; what it then reads goes to `request`. */
void describeCommands(CLI::App& app, Request& request);

/** The names of the commands, and of a command's options with their dashes. */
Words commandNames(const CLI::App& app);
Words optionNames(const CLI::App& command);

/** The exit status of a run that came to no answer: the usual one, but a monitoring system has one of its own. */
int failureStatus(const Words& words, int usual);

/** Runs what the words ask for; returns the exit status. */
int runCommandLine(const Words& words);

} // namespace storestate

#endif
