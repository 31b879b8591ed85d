#include "commandline/Completion.h"

#include "bulk/StudyList.h"
#include "locks/LockFiles.h"
#include "process/ServerEnvironment.h"
#include "support/QXException.h"
#include "terminal/Text.h"

#include <algorithm>
#include <cstdlib>

namespace storestate {
namespace {

bool isOption(const std::string& word) {
    return !word.empty() && word.front() == '-';
}

/** Whether `word` is an option of the command that takes the next word as its value. */
bool takesValue(const CLI::App& command, const std::string& word) {
    const CLI::Option* option = isOption(word) ? command.get_option_no_throw(word) : nullptr;
    return option != nullptr && option->get_items_expected_max() > 0;
}

/** Whether the words between the command and the last one name a study. */
bool namesStudy(const CLI::App& command, const Words& words) {
    for (size_t i = 1; i + 1 < words.size(); ++i) {
        if (!isOption(words[i]) && !takesValue(command, words[i - 1])) {
            return true;
        }
    }
    return false;
}

/** Takes over the environment that the line names so far, as the command would. */
void takeTypedEnvironment(const Words& words) {
    std::string process;
    Words files;
    for (size_t i = 1; i + 1 < words.size(); ++i) {
        if (words[i - 1] == "--env-of") {
            process = words[i];
        } else if (words[i - 1] == "--env-file") {
            files.push_back(words[i]);
        }
    }
    takeEnvironment(process, files);
}

Words lockedStudies() {
    Words studies;
    for (const LockFile& lock : getenv("LOCK_VAR") != nullptr ? findLocks() : std::vector<LockFile>()) {
        studies.push_back(lock.study);
    }
    return studies;
}

Words studiesFor(const CLI::App& command, const Words& words) {
    const std::string& name = words.front();
    const bool onlyOne = name == "modify" || name == "lock";
    if (command.get_option_no_throw("STUDY") == nullptr || (onlyOne && namesStudy(command, words))) {
        return {};
    }
    return name == "unlock" ? lockedStudies() : findStudies().studies;
}

/** What the last of the words may become, unless it begins otherwise. */
Words candidates(const CLI::App& app, const Words& words) {
    Words commands = commandNames(app);
    if (words.size() < 2) {
        commands.insert(commands.end(), {"--help", "--version"});
        return commands;
    }
    if (std::find(commands.begin(), commands.end(), words.front()) == commands.end()) {
        return {};
    }
    const CLI::App* command = app.get_subcommand(words.front());
    if (takesValue(*command, words[words.size() - 2])) {
        return {};
    }
    const auto last = words.end() - 1;
    const auto separator = std::find(words.begin(), last, "--");
    if (words.front() == "modify" && separator != last) { // option, value, option, value
        return (last - separator) % 2 == 1 ? modifyOptionNames() : Words();
    }
    if (separator == last && isOption(*last)) {
        Words names = optionNames(*command);
        names.emplace_back("--");
        return names;
    }
    return studiesFor(*command, words);
}

} // namespace

int complete(const Words& words) {
    Request unused;
    CLI::App app;
    describeCommands(app, unused);
    const std::string begun = words.empty() ? "" : words.back();
    takeTypedEnvironment(words);
    try {
        for (const std::string& candidate : candidates(app, words)) {
            // A name that could steer the terminal has to be typed.
            if (candidate.compare(0, begun.size(), begun) == 0 && candidate == printable(candidate)) {
                fwrite(candidate.c_str(), 1, candidate.size() + 1, stdout);
            }
        }
    } catch (const QXException&) {
        return STATUS_FAILED; // in the middle of somebody's line nobody is told
    }
    return STATUS_DONE;
}

} // namespace storestate
