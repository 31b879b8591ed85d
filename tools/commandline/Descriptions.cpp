#include "commandline/CommandLine.h"
#include "locks/Age.h"
#include "storestate/ModifyOptions.h"
#include "storestate/StudyLock.h"
#include "terminal/Text.h"

namespace storestate {
namespace {

constexpr int RECORD_LOCK_SECONDS = 20; ///< as StoreState::load() waits
constexpr size_t OPTION_WIDTH = 20;

/** What a command needs. */
struct Needs {
    Words variables;
    Rights rights;
};

/** Why the text is no process; empty when it is one, be it there or not. */
std::string mustBeProcess(const std::string& text) {
    return isNumber(text)
               ? ""
               : "takes the number of a process, not \"" + text + "\"; while the server is down, use --env-file FILE";
}

CLI::App* addCommand(CLI::App& app, Request& request, const char* name, const char* text, const Needs& needs,
                     const std::function<int()>& run) {
    CLI::App* added = app.add_subcommand(name, text);
    added->final_callback([&request, needs, run] {
        request.run = run;
        request.variables = needs.variables;
        request.rights = needs.rights;
    });
    const char* group = "User and environment";
    added->add_option("--as", request.user, "for root: become this user; otherwise the repository's owner")
        ->option_text("USER")
        ->group(group);
    added->add_option("--env-of", request.process, "take the environment variables of this process")
        ->type_name("PID")
        ->check(mustBeProcess)
        ->group(group);
    added->add_option("--env-file", request.environmentFiles, "take them from this file, as systemd reads it")
        ->option_text("FILE")
        ->allow_extra_args(false)
        ->group(group);
    return added;
}

void addWait(CLI::App* command, Request& request) {
    command->add_option("--wait", request.lockSeconds, "how long to wait for a lock")
        ->option_text("SECONDS")
        ->check(CLI::Range(0, 1000000));
}

void addAge(CLI::App* command, Request& request) {
    command->add_option("--older-than", request.minimumAge, "only locks of at least this age: 90s, 10m, 2h, 3d")
        ->option_text("AGE");
}

/** The identifiers, which behind "--" may begin with "-". */
Studies studies(const Request& request) {
    Studies all = request.studies;
    all.insert(all.end(), request.behindSeparator.begin(), request.behindSeparator.end());
    return all;
}

Studies someStudies(const Request& request) {
    const Studies all = studies(request);
    return !all.empty() ? all : throw CLI::RequiredError("STUDY");
}

std::string oneStudy(const Studies& all) {
    if (all.empty()) {
        throw CLI::RequiredError("STUDY");
    }
    if (all.size() > 1) {
        throw CLI::ExtrasError({all.begin() + 1, all.end()});
    }
    return all.front();
}

int seconds(const Request& request, int usual) {
    return request.lockSeconds < 0 ? usual : request.lockSeconds;
}

/** In seconds; nothing when none is given. */
std::optional<int64_t> minimumAge(const Request& request) {
    const std::optional<int64_t> age = parseAge(request.minimumAge);
    if (!request.minimumAge.empty() && !age.has_value()) {
        throw CLI::ValidationError("--older-than", request.minimumAge + " is no age such as 90s, 10m, 2h or 3d");
    }
    return age;
}

ModifyRequest modifyRequest(const Request& request) {
    Studies study = request.studies;
    Words options = request.behindSeparator;
    if (study.empty() && options.size() >= 2 && options[1] == "--") { // -- STUDY -- OPTION VALUE...
        study = {options[0]};
        options.erase(options.begin(), options.begin() + 2);
    }
    const std::string id = oneStudy(study);
    if (!request.hasSeparator) {
        throw CLI::RequiredError("-- OPTION VALUE...");
    }
    const int32_t mode = request.mustNotExist ? RECORD_MUST_NOT_EXIST
                         : request.mustExist  ? RECORD_MUST_EXIST
                                              : RECORD_MAY_EXIST;
    return {id, options, mode, request.lockHeld, request.dryRun, seconds(request, RECORD_LOCK_SECONDS)};
}

std::string modifyFooter() {
    std::string text = "Options of the record, each with a value, behind \"--\":\n";
    for (const ModifyOption& option : modifyOptions()) {
        text +=
            "  " + padded(std::string(option.shortName) + "," + option.longName, OPTION_WIDTH) + option.meaning + "\n";
    }
    return text + "For a study that begins with \"-\": storestate modify -- STUDY -- OPTION VALUE...\n";
}

void describeModify(CLI::App& app, Request& request, const Words& variables) {
    CLI::App* modify = addCommand(app, request, "modify", "Change a record: -- OPTION VALUE...",
                                  {variables, Rights::OWNER}, [&] { return modifyRecord(modifyRequest(request)); });
    modify->add_option("STUDY", request.studies, "study identifier");
    CLI::Option* mustNotExist = modify->add_flag("--new", request.mustNotExist, "the record must not exist yet");
    modify->add_flag("--existing", request.mustExist, "the record must exist")->excludes(mustNotExist);
    modify->add_flag("--lock-held", request.lockHeld, "the caller holds the study's lock");
    modify->add_flag("--dry-run", request.dryRun, "only say what would change, or why the call would fail");
    addWait(modify, request);
    modify->footer(modifyFooter());
}

void describeConvert(CLI::App& app, Request& request, const Words& variables) {
    CLI::App* convert = addCommand(app, request, "convert", "Convert records of the earlier generation",
                                   {variables, Rights::OWNER}, [&] {
                                       return convertRecords({someStudies(request), request.dryRun, request.damaged,
                                                              seconds(request, RECORD_LOCK_SECONDS)});
                                   });
    convert->add_option("STUDY", request.studies, "study identifiers; - reads them from standard input, one per line");
    convert->add_flag("--dry-run", request.dryRun, "only say what would change");
    convert->add_flag("--damaged", request.damaged, "also damaged records; the originals are kept beside them");
    addWait(convert, request);
}

void describeRecordCommands(CLI::App& app, Request& request) {
    const Words root = {"REPOSITORY_DICOM_DATA"};
    const Words reading = {"REPOSITORY_DICOM_DATA", "REPOSITORY_HANDLER_HOME"};
    const Words writing = {"REPOSITORY_DICOM_DATA", "REPOSITORY_HANDLER_HOME", "LOCK_VAR"};

    CLI::App* show = addCommand(app, request, "show", "Print records as they are stored", {reading, Rights::OWNER},
                                [&] { return showRecords(someStudies(request), request.asJson); });
    show->add_option("STUDY", request.studies, "study identifiers");
    show->add_flag("--json", request.asJson, "for scripts");

    describeModify(app, request, writing);
    describeConvert(app, request, writing);

    CLI::App* verify = addCommand(app, request, "verify", "Look for records and lists that are not in order",
                                  {writing, Rights::OWNER}, [&] { return verifyRecords(studies(request)); });
    verify->add_option("STUDY", request.studies,
                       "study identifiers; - reads them from standard input; none: all studies");
    addCommand(app, request, "studies", "List all studies of the repository", {root, Rights::OWNER}, listStudies);
}

void describeLockCommands(CLI::App& app, Request& request) {
    const Words variables = {"LOCK_VAR"};
    CLI::App* lock =
        addCommand(app, request, "lock", "Take a study's lock and keep it", {variables, Rights::OWNER},
                   [&] { return takeLockForGood(oneStudy(studies(request)), seconds(request, STUDY_LOCK_SECONDS)); });
    lock->add_option("STUDY", request.studies, "study identifier");
    addWait(lock, request);

    CLI::App* unlock =
        addCommand(app, request, "unlock", "Remove locks, whoever took them", {variables, Rights::OWNER}, [&] {
            const std::optional<int64_t> age = minimumAge(request);
            return removeLocks(age.has_value() ? studies(request) : someStudies(request), age, request.force);
        });
    unlock->add_option("STUDY", request.studies, "study identifiers; with --older-than none: all that are locked");
    unlock->add_flag("--force", request.force, "do not ask");
    addAge(unlock, request);

    CLI::App* locks =
        addCommand(app, request, "locks", "List the locks that are held, oldest first", {variables, Rights::CALLER},
                   [&] { return listLocks(minimumAge(request).value_or(0), request.asJson); });
    addAge(locks, request);
    locks->add_flag("--json", request.asJson, "for scripts");
}

void describeCheck(CLI::App& app, Request& request) {
    CLI::App* check = addCommand(app, request, "check", "Tell whether the library would work here",
                                 {{}, Rights::OWNER_IF_POSSIBLE}, [&] { return checkEnvironment(request.check); });
    check->add_flag("--json", request.check.asJson, "for scripts");
    check->add_flag("--quiet", request.check.quiet, "only what is not good");
    check->add_flag("--monitor", request.check.asMonitor,
                    "for Nagios and its kin: one line first; status 0, 1, 2 or 3");
}

} // namespace

void describeCommands(CLI::App& app, Request& request) {
    describeRecordCommands(app, request);
    describeLockCommands(app, request);
    describeCheck(app, request);
}

Words commandNames(const CLI::App& app) {
    Words names;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App* /*all*/) { return true; })) {
        names.push_back(command->get_name());
    }
    return names;
}

Words optionNames(const CLI::App& command) {
    Words names;
    for (const CLI::Option* option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            names.push_back("--" + name);
        }
        for (const std::string& name : option->get_snames()) {
            names.push_back("-" + name);
        }
    }
    return names;
}

} // namespace storestate
