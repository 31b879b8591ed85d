/** The library's environment variables, taken over from the server: only those, and nothing else. */
#ifndef TOOLS_PROCESS_SERVERENVIRONMENT_H
#define TOOLS_PROCESS_SERVERENVIRONMENT_H

#include <map>
#include <string>
#include <vector>

namespace storestate {

using Settings = std::map<std::string, std::string>;

/** What a file of variables in systemd's format (EnvironmentFile) sets. */
Settings parseEnvironmentFile(const std::string& text);

/** What a process's environment sets: NAME=VALUE, each with a NUL behind it. */
Settings parseProcessEnvironment(const std::string& text);

/** Where takeEnvironment() takes them from, in words; empty without any source. */
std::string environmentSource(const std::string& process, const std::vector<std::string>& files);

/**
 * Makes the library's variables those of a process (by its number) and of files, later ones going before; what none of
 * them sets is not set any more. Without any source nothing changes. Returns why a source cannot be read; empty: done.
 */
std::string takeEnvironment(const std::string& process, const std::vector<std::string>& files);

/** "not set" or "empty"; empty for a variable that has a value. */
std::string variableFault(const char* variable);

/** Names what is missing or empty of the variables taken from `source`, and what to do; empty when all are set. */
std::string missingVariables(const std::vector<std::string>& names, const std::string& source);

} // namespace storestate

#endif
