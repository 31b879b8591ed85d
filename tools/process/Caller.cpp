#include "process/Caller.h"

#include "files/Files.h"
#include "storestate/Environment.h"
#include "terminal/Status.h"
#include "terminal/Text.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <elf.h>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace storestate {
namespace {

/**
 * The path of a process's files through an open directory: if the process ends and its number is used again, they
 * cannot be read any more.
 */
std::string openProcess(const std::string& process) {
    const int directory = open(("/proc/" + process).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC); // until the end
    return "/proc/self/fd/" + std::to_string(directory) + "/";
}

std::string readProcessFile(const std::string& path, const std::string& process) {
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    if (!file.is_open()) {
        throw Failure("Reading the environment of process " + process + " failed: " + strerror(errno) + ".");
    }
    return text;
}

/** Whether all user IDs of the process are the caller's. `text`: its status file. */
bool isOwn(const std::string& text) {
    std::istringstream status(text);
    for (std::string key; status >> key;) {
        uid_t ids[4] = {};
        if (key == "Uid:" && status >> ids[0] >> ids[1] >> ids[2] >> ids[3]) {
            return std::all_of(std::begin(ids), std::end(ids), [](uid_t id) { return id == geteuid(); });
        }
    }
    return false;
}

/**
 * Whether the process got its rights from a set-user-ID program, so that another user chose its environment. `vector`:
 * its auxiliary vector.
 */
bool isPrivileged(const std::string& vector) {
    unsigned long entry[2];
    for (size_t at = 0; at + sizeof entry <= vector.size(); at += sizeof entry) {
        memcpy(entry, vector.data() + at, sizeof entry);
        if (entry[0] == AT_SECURE) {
            return entry[1] != 0;
        }
    }
    return true;
}

std::map<std::string, std::string> parse(const std::string& environment) {
    std::map<std::string, std::string> variables;
    std::istringstream stream(environment);
    for (std::string entry; std::getline(stream, entry, '\0');) {
        const size_t equals = entry.find('=');
        if (equals != std::string::npos) {
            variables[entry.substr(0, equals)] = entry.substr(equals + 1);
        }
    }
    return variables;
}

} // namespace

void refuseRoot(const std::vector<std::string>& words) {
    if (geteuid() != 0) {
        return;
    }
    struct statx root; // cached values are enough: an unreachable server must not block this message
    const int result = statx(AT_FDCWD, environmentValue("REPOSITORY_DICOM_DATA"), AT_STATX_DONT_SYNC, STATX_UID, &root);
    const bool known = result == 0 && root.stx_uid != 0;
    std::string command = "runuser -u " + (known ? userName(root.stx_uid) : "USER") + " -- storestate";
    for (const std::string& word : words) {
        command += " " + shellWord(word);
    }
    throw Failure("This tool does not run as root. Run it as the " +
                  std::string(known ? "owner of the repository" : "server's user") + ": " + command +
                  " (--allow-root overrides this)");
}

void takeEnvironment(const std::string& process) {
    if (process.empty() || process.find_first_not_of("0123456789") != std::string::npos) {
        throw Failure("--env-of takes the number of a process, not \"" + process + "\".", STATUS_USAGE);
    }
    const std::string files = openProcess(process);
    const bool own = isOwn(readProcessFile(files + "status", process));
    if (!own || (geteuid() == 0 && isPrivileged(readProcessFile(files + "auxv", process)))) {
        throw Failure("Process " + process + " is not a process of this user: its environment is not used.");
    }
    const std::map<std::string, std::string> variables = parse(readProcessFile(files + "environ", process));
    bool any = false;
    for (const EnvironmentVariable& variable : ENVIRONMENT) {
        const auto found = variables.find(variable.name);
        if (found == variables.end()) {
            unsetenv(variable.name);
        } else {
            setenv(variable.name, found->second.c_str(), 1);
            any = true;
        }
    }
    if (!any) {
        throw Failure("Process " + process + " has none of the server's variables.");
    }
}

void requireVariables(const std::vector<std::string>& names, const std::optional<std::string>& process) {
    std::string faults;
    for (const EnvironmentVariable& variable : ENVIRONMENT) {
        const char* value = environmentValue(variable.name);
        const bool isNeeded = std::find(names.begin(), names.end(), variable.name) != names.end();
        if (isNeeded && *value != '/') { // a relative path depends on where a process was started
            faults += std::string(variable.name) + " (" + variable.meaning + ") is " +
                      (*value == '\0' ? "not set; " : "not an absolute path; ");
        }
    }
    if (!faults.empty()) {
        throw Failure(faults + (process.has_value() ? "this is the environment of process " + *process + "."
                                                    : "take the server's variables with --env-of PID."));
    }
}

} // namespace storestate
