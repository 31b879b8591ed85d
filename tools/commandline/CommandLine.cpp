#include "commandline/CommandLine.h"

#include "check/Check.h"
#include "commands/Commands.h"
#include "diagnosis/Explanation.h"
#include "locks/StudyLocks.h"
#include "process/Caller.h"
#include "storestate/StudyLock.h"
#include "terminal/Status.h"
#include "terminal/Text.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <functional>
#include <iostream>
#include <map>
#include <sstream>

namespace storestate {
namespace {

using Words = std::vector<std::string>;

constexpr size_t OPTION_WIDTH = 20;
const std::map<std::string, int64_t> AGE_UNITS = {{"s", 1}, {"m", 60}, {"h", 3600}, {"d", 86400}};

/** What the command line says. */
struct Request {
    Studies studies;
    std::optional<std::string> process; ///< whose environment to take
    std::optional<int64_t> minimumAge;  ///< in seconds
    bool allowRoot = false;
    bool asJson = false;
    ModifyRequest modify;
    std::optional<Words> recordOptions; ///< of modify, after "--"
    ConvertRequest convert;
    std::string lockStudy;
    int lockSeconds = STUDY_LOCK_SECONDS;
    CheckOptions check;
};

/** What a command does and the environment variables that it needs. */
struct Command {
    std::function<int()> run;
    Words variables;
};

std::vector<OptionPair> pairs(const std::optional<Words>& words) {
    if (!words.has_value()) {
        throw Failure("-- OPTION VALUE... is required.", STATUS_USAGE);
    }
    std::vector<OptionPair> pairs;
    for (size_t i = 0; i < words->size(); i += 2) {
        const std::string& name = words->at(i);
        if (findModifyOption(name.c_str()) == nullptr) {
            throw Failure("There is no option " + name + " of a record.", STATUS_USAGE);
        }
        if (i + 1 == words->size()) {
            throw Failure("Option " + name + " lacks its value.", STATUS_USAGE);
        }
        pairs.push_back({name.c_str(), words->at(i + 1).c_str()});
    }
    return pairs;
}

std::string recordOptionHelp() {
    std::string text = "Options of the record, each with a value, after \"--\":\n";
    for (const ModifyOption& option : modifyOptions()) {
        text +=
            "  " + padded(std::string(option.shortName) + "," + option.longName, OPTION_WIDTH) + option.meaning + "\n";
    }
    return text;
}

/** Describes the commands to the parser, which then sets `request` and the chosen command. */
class Descriptions {
public:
    Descriptions(CLI::App& application, Request& parsed, Command& chosenCommand)
        : app(application), request(parsed), chosen(chosenCommand) {
        describeShow();
        describeModify();
        describeBulkCommands();
        describeLocks();
        describeCheck();
    }

private:
    CLI::App* add(const char* name, const char* meaning, const Words& variables, const std::function<int()>& run) {
        CLI::App* command = app.add_subcommand(name, meaning);
        command->final_callback([this, run, variables] { chosen = {run, variables}; });
        command
            ->add_option("--env-of", request.process, "take the environment variables of this process of the same user")
            ->option_text("PID");
        command->add_flag("--allow-root", request.allowRoot, "run as root");
        return command;
    }

    template <class Seconds>
    static void addWait(CLI::App* command, Seconds& seconds) {
        command
            ->add_option("--wait", seconds,
                         "how long to wait for a lock; default " + std::to_string(StoreState::LOCK_SECONDS) +
                             ", for lock " + std::to_string(STUDY_LOCK_SECONDS) + ", for several studies 0")
            ->option_text("SECONDS")
            ->check(CLI::Range(0, 1000000));
    }

    void addAge(CLI::App* command) {
        command
            ->add_option("--older-than", request.minimumAge,
                         "only locks of at least this age: 90s, 10m, 2h, 3d; unlock: default " + ageText(OLD_SECONDS))
            ->option_text("AGE")
            ->transform(CLI::AsNumberWithUnit(AGE_UNITS, CLI::AsNumberWithUnit::UNIT_REQUIRED));
    }

    void describeShow() {
        CLI::App* show = add("show", "Print records as they are stored", READING,
                             [this] { return showRecords(request.studies, request.asJson); });
        show->add_option("STUDY", request.studies, "study identifiers")->required();
        show->add_flag("--json", request.asJson, "print JSON");
    }

    void describeModify() {
        CLI::App* modify = add("modify", "Change a record: -- OPTION VALUE...", WRITING, [this] {
            request.modify.options = pairs(request.recordOptions);
            return changeRecord(request.modify);
        });
        modify->add_option("STUDY", request.modify.study, "study identifier")->required();
        modify->add_flag("--new", request.modify.isNew, "create the record; it must not exist");
        modify->add_flag("--dry-run", request.modify.dryRun,
                         "only report what would change, or why the call would fail");
        addWait(modify, request.modify.lockSeconds);
        modify->footer(recordOptionHelp());
    }

    void describeBulkCommands() {
        ConvertRequest& parsed = request.convert;
        CLI::App* convert = add("convert", "Convert records of the earlier generation", WRITING,
                                [&parsed] { return convertRecords(parsed); });
        convert->add_option("STUDY", parsed.studies, "study identifiers; - reads them from standard input, one a line")
            ->required();
        convert->add_flag("--dry-run", parsed.dryRun, "only report what would change");
        addWait(convert, parsed.lockSeconds);

        CLI::App* verify = add("verify", "Report damaged, unreadable and unwritable records", READING,
                               [this] { return verifyRecords(request.studies); });
        verify->add_option("STUDY", request.studies,
                           "study identifiers; - reads them from standard input; none: all studies");
        add("studies", "List all studies of the repository", {"REPOSITORY_DICOM_DATA"}, listStudies);
    }

    void describeLocks() {
        const Words variables = {"LOCK_VAR"};
        CLI::App* lock = add("lock", "Take a study's lock and keep it", variables,
                             [this] { return takeAndKeepLock(request.lockStudy, request.lockSeconds); });
        lock->add_option("STUDY", request.lockStudy, "study identifier")->required();
        addWait(lock, request.lockSeconds);

        CLI::App* unlock = add("unlock", "Remove old locks, whoever took them", variables,
                               [this] { return removeLocks(request.studies, request.minimumAge); });
        unlock->add_option("STUDY", request.studies, "study identifiers; with --older-than none: all that are locked");
        addAge(unlock);

        CLI::App* locks = add("locks", "List the locks that are held, oldest first", variables,
                              [this] { return listLocks(request.minimumAge.value_or(0), request.asJson); });
        addAge(locks);
        locks->add_flag("--json", request.asJson, "print JSON");
    }

    void describeCheck() {
        CLI::App* check = add("check", "Check whether the library can work here", {},
                              [this] { return checkEnvironment(request.check); });
        check->add_flag("--json", request.check.asJson, "print JSON");
        check->add_flag("--monitor", request.check.asMonitor,
                        "one line first, and the statuses of monitoring plug-ins");
    }

    const Words READING = {"REPOSITORY_DICOM_DATA", "REPOSITORY_HANDLER_HOME"};
    const Words WRITING = {"REPOSITORY_DICOM_DATA", "REPOSITORY_HANDLER_HOME", "LOCK_VAR"};

    CLI::App& app;
    Request& request;
    Command& chosen;
};

/** Prints the help, the version, or what is wrong with the arguments. */
int answer(const CLI::App& app, const CLI::ParseError& refused) {
    std::ostringstream complaint;
    const int status = app.exit(refused, std::cout, complaint);
    for (const std::string& line : splitLines(complaint.str())) {
        fprintf(stderr, "%s\n", printable(line).c_str());
    }
    return status == 0 ? STATUS_DONE : STATUS_USAGE;
}

/** Returns the exit status. `answered` becomes true if the command ran, or if only help was requested. */
int parseAndRun(const Words& words, bool& answered) {
    Request request;
    Command command;
    CLI::App app("Shows and changes the store-state records of a DICOM archive.", "storestate");
    app.set_version_flag("--version", STORESTATE_VERSION);
    app.require_subcommand(1);
    app.footer("storestate COMMAND --help tells more.");
    const Descriptions descriptions(app, request, command);

    Words parsed = words;
    const auto separator = std::find(parsed.begin(), parsed.end(), "--");
    if (words.front() == "modify" && separator != parsed.end()) { // the parser must not see the record's options
        request.recordOptions = Words(separator + 1, parsed.end());
        parsed.erase(separator, parsed.end());
    }
    std::reverse(parsed.begin(), parsed.end()); // the parser expects this order
    try {
        app.parse(parsed);
    } catch (const CLI::ParseError& refused) {
        const int status = answer(app, refused);
        answered = status == STATUS_DONE;
        return status;
    }
    return guarded(words.front(), [&] {
        if (!request.allowRoot) {
            refuseRoot(words);
        }
        if (request.process.has_value()) {
            takeEnvironment(*request.process);
        }
        requireVariables(command.variables, request.process);
        const int status = command.run();
        answered = true;
        return status;
    });
}

bool isMonitor(const Words& words) {
    return words.front() == "check" && std::find(words.begin(), words.end(), "--monitor") != words.end();
}

} // namespace

int runCommandLine(const Words& given) {
    const Words words = given.empty() ? Words{"--help"} : given;
    bool answered = false;
    int status = parseAndRun(words, answered);
    const std::string fault = outputFault();
    if (!fault.empty()) {
        status = complain(words.front(), fault);
        answered = false;
    }
    return answered || !isMonitor(words) ? status : STATUS_MONITOR_UNKNOWN;
}

} // namespace storestate
