#include "check/CheckApart.h"
#include "check/CheckOutput.h"
#include "check/CheckReport.h"
#include "commands/Commands.h"
#include "process/Users.h"
#include "storestate/Environment.h"
#include "terminal/Text.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

namespace storestate {
namespace {

/** Variables that no part has looked at: new ones. */
void showOthers(CheckReport& report) {
    for (const EnvironmentVariable& variable : ENVIRONMENT) {
        const std::vector<Finding>& found = report.findings();
        if (std::none_of(found.begin(), found.end(),
                         [&](const Finding& finding) { return finding.subject == variable.name; })) {
            const std::string value = setting(variable.name);
            report.good(variable.name, (value.empty() ? "not set" : value) + ": " + variable.meaning);
        }
    }
}

/** That is one thing forgotten, to name the server, rather than a dozen. */
void showWhetherSet(CheckReport& report) {
    if (std::all_of(std::begin(ENVIRONMENT), std::end(ENVIRONMENT),
                    [](const EnvironmentVariable& variable) { return getenv(variable.name) == nullptr; })) {
        report.bad("environment", "none of the server's variables is set",
                   "take them from the server: --env-of PID, or --env-file FILE");
    }
}

/** Whose rights the other findings speak of. */
void showUser(CheckReport& report, const std::string& identityFault) {
    const std::string user = userName(geteuid());
    struct stat root;
    if (stat(setting("REPOSITORY_DICOM_DATA").c_str(), &root) == 0 && root.st_uid != geteuid() && geteuid() != 0) {
        report.note("user",
                    user + ", not " + userName(root.st_uid) +
                        ", to whom the repository belongs: what this check says of rights may not hold for the server",
                    "run it as root, or as the server's user");
    } else if (identityFault.empty()) {
        report.good("user", user);
    } else {
        report.note("user", user + ", who may do more than the server's user: " + identityFault,
                    "storestate check --as USER");
    }
}

void lookAtAll(CheckReport& report) {
    constexpr char MOUNT_REMEDY[] = "see whether its file system is reachable, above all its NFS server";
    checkApart(
        report,
        {{"REPOSITORY_DICOM_DATA", MOUNT_REMEDY, checkRepository},
         {"LOCK_VAR", MOUNT_REMEDY, checkLockDirectory},
         {"mounts", MOUNT_REMEDY, checkMounts},
         {"REPOSITORY_HANDLER_HOME", "the server's calls meet the same: have the plug-in repaired", checkPlugin},
         {"database",
          "see that the server is reachable and not overloaded: calls on new studies hang there and hold their locks",
          checkDatabase},
         {"system log", "restart the system log", checkSystemLog},
         {"ps", "try again", checkSnapshot}});
    showOthers(report);
}

std::string rendered(const CheckReport& report, const CheckOptions& options) {
    if (options.asJson) {
        return jsonText(reportAsJson(report, options.quiet));
    }
    return options.asMonitor ? monitorLine(report) + findingLines(report, true) : findingLines(report, options.quiet);
}

} // namespace

int checkEnvironment(const CheckOptions& options) {
    CheckReport report;
    showWhetherSet(report);
    showUser(report, options.identityFault);
    lookAtAll(report);
    printf("%s", rendered(report, options).c_str());
    if (options.asMonitor) {
        return monitorStatus(report.worst());
    }
    return report.worst() < Verdict::UNKNOWN ? STATUS_DONE : STATUS_FAILED;
}

} // namespace storestate
