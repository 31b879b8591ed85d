#include "process/ServerEnvironment.h"

#include "storestate/Environment.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <optional>

namespace storestate {
namespace {

constexpr char BLANKS[] = " \t\r\n";

std::optional<std::string> readFile(const std::string& path) {
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    return file.is_open() && !file.bad() ? std::optional(text) : std::nullopt;
}

/**
 * The value that begins at `at`, which moves behind its line. Parts in quotes are taken as they are, but for a
 * backslash in double quotes; outside a backslash takes the next character, and none at all before a line end.
 */
std::string takeValue(const std::string& text, size_t& at) {
    std::string value;
    size_t kept = 0; // blanks at the end do not count, unless they were quoted
    char quote = '\0';
    for (; at < text.size() && (quote != '\0' || text[at] != '\n'); ++at) {
        const char character = text[at];
        if (quote != '\0' && character == quote) {
            quote = '\0';
            kept = value.size();
        } else if (quote == '\0' && (character == '"' || character == '\'')) {
            quote = character;
        } else if (character == '\\' && quote != '\'' && at + 1 < text.size()) {
            ++at;
            const bool special = quote == '\0' || strchr("\"\\`$\n", text[at]) != nullptr;
            value += special ? "" : "\\";
            value += text[at] == '\n' ? "" : std::string(1, text[at]);
            kept = value.size();
        } else {
            value += character;
            kept = quote != '\0' || strchr(BLANKS, character) == nullptr ? value.size() : kept;
        }
    }
    return value.substr(0, kept);
}

/** The files that hold the environments, the later ones going before. */
std::vector<std::string> sources(const std::string& process, const std::vector<std::string>& files) {
    std::vector<std::string> paths = files;
    if (!process.empty()) {
        paths.insert(paths.begin(), "/proc/" + process + "/environ");
    }
    return paths;
}

void merge(Settings& settings, const Settings& more) {
    for (const auto& [name, value] : more) {
        settings[name] = value;
    }
}

} // namespace

Settings parseEnvironmentFile(const std::string& text) {
    Settings settings;
    for (size_t at = text.find_first_not_of(BLANKS); at < text.size(); at = text.find_first_not_of(BLANKS, at)) {
        const size_t end = std::min(text.find('\n', at), text.size());
        const size_t equals = text.find('=', at);
        if (text[at] == '#' || text[at] == ';' || equals >= end) {
            at = end;
            continue;
        }
        std::string name = text.substr(at, equals - at);
        name.erase(name.find_last_not_of(BLANKS) + 1);
        at = std::min(text.find_first_not_of(" \t", equals + 1), text.size());
        settings[name] = takeValue(text, at);
    }
    return settings;
}

Settings parseProcessEnvironment(const std::string& text) {
    Settings settings;
    for (size_t at = 0; at < text.size();) {
        const std::string entry = text.c_str() + at;
        const size_t equals = entry.find('=');
        if (equals != std::string::npos) {
            settings[entry.substr(0, equals)] = entry.substr(equals + 1);
        }
        at += entry.size() + 1;
    }
    return settings;
}

std::string environmentSource(const std::string& process, const std::vector<std::string>& files) {
    const std::vector<std::string> paths = sources(process, files);
    return paths.empty() ? "" : paths.front() + (paths.size() > 1 ? " and more" : "");
}

std::string takeEnvironment(const std::string& process, const std::vector<std::string>& files) {
    const std::vector<std::string> paths = sources(process, files);
    if (paths.empty()) {
        return "";
    }
    Settings settings;
    for (const std::string& path : paths) {
        const std::optional<std::string> text = readFile(path);
        if (!text.has_value()) {
            return "Reading the environment failed: " + path + " " + strerror(errno);
        }
        const bool isProcess = !process.empty() && &path == &paths.front();
        merge(settings, isProcess ? parseProcessEnvironment(*text) : parseEnvironmentFile(*text));
    }
    bool any = false;
    for (const EnvironmentVariable& variable : ENVIRONMENT) {
        const auto found = settings.find(variable.name);
        any = any || found != settings.end();
        if (found == settings.end()) {
            unsetenv(variable.name);
        } else {
            setenv(variable.name, found->second.c_str(), 1);
        }
    }
    return any ? "" : environmentSource(process, files) + " has none of the server's variables";
}

std::string variableFault(const char* variable) {
    const char* value = getenv(variable);
    return value == nullptr ? "not set" : *value == '\0' ? "empty" : "";
}

std::string missingVariables(const std::vector<std::string>& names, const std::string& source) {
    std::string missing;
    for (const EnvironmentVariable& variable : ENVIRONMENT) {
        const std::string fault = variableFault(variable.name);
        if (!fault.empty() && std::find(names.begin(), names.end(), variable.name) != names.end()) {
            missing += std::string(variable.name) + " (" + variable.meaning + ") is " + fault + "; ";
        }
    }
    return missing.empty()  ? ""
           : source.empty() ? missing + "take it from the server with --env-of PID or --env-file FILE"
                            : missing + source + " does not set it: the server lacks it, too";
}

} // namespace storestate
