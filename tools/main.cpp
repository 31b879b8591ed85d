/** The command line of `storestate`, the operator's tool. */
#include "commands/Commands.h"

#include "storestate/ModifyOptions.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <clocale>
#include <map>

namespace storestate {
namespace {

using Words = std::vector<std::string>;

/** What the command line says. */
struct Request {
    std::string study;
    Words studies;
    bool hasOptions = false;
    Words options; ///< of modify: everything behind "--", never looked at by the parser
    std::string minimumAge = "0s";
    bool mustNotExist = false;
    bool mustExist = false;
    bool lockHeld = false;
    bool dryRun = false;
    bool force = false;
    bool asJson = false;
    CheckOptions check;
};

/** "90s", "10m", "2h", "3d" in seconds; throws CLI::ValidationError. */
int64_t seconds(const std::string& age) {
    static const std::map<char, int64_t> UNITS = {{'s', 1}, {'m', 60}, {'h', 3600}, {'d', 86400}};
    const size_t digits = age.find_first_not_of("0123456789");
    const auto unit = digits != std::string::npos ? UNITS.find(age[digits]) : UNITS.end();
    if (digits == 0 || digits > 9 || digits + 1 != age.size() || unit == UNITS.end()) {
        throw CLI::ValidationError("--older-than", age + " is no age such as 90s, 10m, 2h or 3d");
    }
    return std::stoll(age) * unit->second;
}

std::string refuseEmpty(const std::string& study) {
    return study.empty() ? "a study identifier is empty" : "";
}

CLI::App* addCommand(CLI::App& app, const char* name, const char* text, int& status, const std::function<int()>& run) {
    CLI::App* command = app.add_subcommand(name, text);
    command->final_callback([&status, run] { status = run(); });
    return command;
}

void addRecordCommands(CLI::App& app, Request& request, int& status) {
    CLI::App* show = addCommand(app, "show", "Print records as they are stored", status,
                                [&] { return showRecords(request.studies, request.asJson); });
    show->add_option("STUDY", request.studies, "study identifiers")->required()->check(refuseEmpty);
    show->add_flag("--json", request.asJson, "for scripts");

    CLI::App* modify = addCommand(app, "modify", "Change a record: -- OPTION VALUE...", status, [&] {
        if (!request.hasOptions) {
            throw CLI::RequiredError("-- OPTION VALUE...");
        }
        const int32_t mode = request.mustNotExist ? RECORD_MUST_NOT_EXIST
                             : request.mustExist  ? RECORD_MUST_EXIST
                                                  : RECORD_MAY_EXIST;
        return modifyRecord(request.study, mode, request.options, request.lockHeld);
    });
    modify->add_option("STUDY", request.study, "study identifier")->required()->check(refuseEmpty);
    CLI::Option* mustNotExist = modify->add_flag("--new", request.mustNotExist, "the record must not exist yet");
    modify->add_flag("--existing", request.mustExist, "the record must exist")->excludes(mustNotExist);
    modify->add_flag("--lock-held", request.lockHeld, "the caller holds the study's lock");

    CLI::App* convert = addCommand(app, "convert", "Convert records of the earlier generation", status,
                                   [&] { return convertRecords(request.studies, request.dryRun); });
    convert->add_option("STUDY", request.studies, "study identifiers; - reads them from standard input")
        ->required()
        ->check(refuseEmpty);
    convert->add_flag("--dry-run", request.dryRun, "only say what would change");
}

void addLockCommands(CLI::App& app, Request& request, int& status) {
    CLI::App* lock = addCommand(app, "lock", "Take a study's lock and keep it", status,
                                [&] { return lockStudyForever(request.study); });
    lock->add_option("STUDY", request.study, "study identifier")->required()->check(refuseEmpty);

    CLI::App* unlock = addCommand(app, "unlock", "Remove a study's lock, whoever took it", status,
                                  [&] { return unlockHeldStudy(request.study, request.force); });
    unlock->add_option("STUDY", request.study, "study identifier")->required()->check(refuseEmpty);
    unlock->add_flag("--force", request.force, "do not ask");

    CLI::App* locks = addCommand(app, "locks", "List the locks that are held, oldest first", status,
                                 [&] { return listLocks(seconds(request.minimumAge), request.asJson); });
    locks->add_option("--older-than", request.minimumAge, "only locks of at least this age: 90s, 10m, 2h, 3d");
    locks->add_flag("--json", request.asJson, "for scripts");
}

void addCheckCommand(CLI::App& app, CheckOptions& options, int& status) {
    CLI::App* check = addCommand(app, "check", "Tell whether the library would work here", status,
                                 [&] { return checkEnvironment(options); });
    check->add_flag("--json", options.asJson, "for scripts");
    check->add_flag("--quiet", options.quiet, "only what is not good");
    check->add_flag("--monitor", options.asMonitor, "for Nagios and its kin: one line first; status 0, 1, 2 or 3");
}

int run(Words arguments) {
    Request request;
    // A monitoring system takes 2 for a fault that was found.
    const bool asMonitor = std::find(arguments.begin(), arguments.end(), "--monitor") != arguments.end();
    if (!arguments.empty() && arguments.front() == "modify") {
        const auto separator = std::find(arguments.begin(), arguments.end(), "--");
        if (separator != arguments.end()) {
            request.hasOptions = true;
            request.options.assign(separator + 1, arguments.end());
            arguments.erase(separator, arguments.end());
        }
    }

    int status = STATUS_DONE;
    CLI::App app("Looks after the store-state records of a DICOM archive.", "storestate");
    app.set_version_flag("--version", STORESTATE_VERSION);
    app.require_subcommand(1);
    addRecordCommands(app, request, status);
    addLockCommands(app, request, status);
    addCheckCommand(app, request.check, status);
    try {
        std::reverse(arguments.begin(), arguments.end()); // as the parser wants them
        app.parse(arguments);
    } catch (const CLI::ParseError& refused) {
        return app.exit(refused) == 0 ? STATUS_DONE
               : asMonitor            ? STATUS_MONITOR_UNKNOWN
                                      : static_cast<int>(STATUS_USAGE);
    }
    return status;
}

} // namespace
} // namespace storestate

int main(int argc, char** argv) {
    setlocale(LC_CTYPE, "");
    try {
        return storestate::run({argv + 1, argv + argc});
    } catch (const std::exception& failure) {
        fprintf(stderr, "storestate: %s\n", failure.what());
        return storestate::STATUS_FAILED;
    }
}
