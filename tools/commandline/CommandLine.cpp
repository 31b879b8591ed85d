#include "commandline/CommandLine.h"

#include "commandline/Completion.h"
#include "commands/Failure.h"
#include "process/Identity.h"
#include "process/ServerEnvironment.h"
#include "terminal/Suggestion.h"
#include "terminal/Terminal.h"

#include <algorithm>
#include <sstream>

namespace storestate {
namespace {

bool contains(const Words& words, const std::string& word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

/** Takes what stands behind the first "--" away from the parser. */
Words splitOff(Words words, Request& request) {
    const auto separator = std::find(words.begin(), words.end(), "--");
    request.hasSeparator = separator != words.end();
    if (request.hasSeparator) {
        request.behindSeparator.assign(separator + 1, words.end());
        words.erase(separator, words.end());
    }
    return words;
}

/** What was probably meant by words that the parser refuses; empty when nobody knows. */
std::string hint(const CLI::App& app, const Words& words) {
    if (words.empty() || !contains(commandNames(app), words.front())) {
        return words.empty() ? "" : suggestion(words.front(), commandNames(app));
    }
    const Words options = optionNames(*app.get_subcommand(words.front()));
    const Words recordOptions = words.front() == "modify" ? modifyOptionNames() : Words();
    for (const std::string& word : words) {
        if (contains(recordOptions, word) && !contains(options, word)) {
            return " Options of the record stand behind \"--\": storestate modify STUDY -- " + word + " VALUE";
        }
        if (word.front() == '-' && !contains(options, word)) {
            return suggestion(word, options);
        }
    }
    return "";
}

/** True: the words only asked for help or the version, which is printed; false: said why they are refused. */
bool answer(const CLI::App& app, const CLI::ParseError& refused, const Words& words) {
    std::ostringstream help;
    std::ostringstream complaint;
    const int status = app.exit(refused, help, complaint);
    printf("%s", help.str().c_str()); // of --help and --version
    for (const std::string& line : splitLines(complaint.str())) {
        fprintf(stderr, "%s\n", printable(line).c_str());
    }
    const std::string meant = status != 0 ? hint(app, words) : "";
    if (!meant.empty()) {
        fprintf(stderr, "%s\n", printable(meant.substr(1)).c_str());
    }
    return status == 0;
}

/** Takes environment and identity over, in this order: another's environment is root's to read. False: said why not. */
bool prepare(Request& request, const std::string& command) {
    std::string fault = takeEnvironment(request.process, request.environmentFiles);
    if (fault.empty()) {
        fault = missingVariables(request.variables, environmentSource(request.process, request.environmentFiles));
    }
    if (fault.empty() && (request.rights != Rights::CALLER || !request.user.empty())) {
        fault = takeIdentity(request.user);
        if (request.rights == Rights::OWNER_IF_POSSIBLE && request.user.empty()) {
            request.check.identityFault.swap(fault);
        }
    }
    if (!fault.empty()) {
        complain(command, fault + ".", STATUS_FAILED);
    }
    return fault.empty();
}

} // namespace

int failureStatus(const Words& words, int usual) {
    const bool monitors = !words.empty() && words.front() == "check" && contains(words, "--monitor");
    return monitors ? STATUS_MONITOR_UNKNOWN : usual;
}

int runCommandLine(const Words& words) {
    if (!words.empty() && words.front() == COMPLETION_COMMAND) {
        return complete({words.begin() + 1, words.end()});
    }
    Request request;
    CLI::App app("Looks after the store-state records of a DICOM archive.", "storestate");
    app.set_version_flag("--version", STORESTATE_VERSION);
    app.require_subcommand(1);
    app.footer("storestate COMMAND --help tells more.");
    describeCommands(app, request);
    const Words inFront = splitOff(words, request);
    try {
        app.parse(Words(inFront.rbegin(), inFront.rend())); // reversed, as the parser wants them
        const bool ready = prepare(request, app.get_subcommands().front()->get_name());
        return ready ? request.run() : failureStatus(words, STATUS_FAILED);
    } catch (const CLI::ParseError& refused) {
        return answer(app, refused, inFront) ? static_cast<int>(STATUS_DONE) : failureStatus(words, STATUS_USAGE);
    }
}

} // namespace storestate
