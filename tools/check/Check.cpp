#include "check/Check.h"

#include "check/Parts.h"
#include "terminal/Status.h"
#include "terminal/Text.h"

#include <cstdio>
#include <nlohmann/json.hpp>

namespace storestate {
namespace {

constexpr char MOUNT_REMEDY[] = "check that its file system is reachable";
constexpr CheckPart PARTS[] = {
    {"REPOSITORY_DICOM_DATA", MOUNT_REMEDY, checkRepository},
    {"LOCK_VAR", MOUNT_REMEDY, checkLockDirectory},
    {"REPOSITORY_HANDLER_HOME", "have the plug-in repaired: the server's calls fail in the same way", checkPlugin},
    {"database",
     "check that the server is reachable and not overloaded: calls on new studies hang and keep their locks",
     checkDatabase},
    {"system log", "restart the system log", checkSystemLog},
};

void print(const Findings& findings, const CheckOptions& options) {
    if (options.asJson) {
        printf("%s", jsonText(findingsAsJson(findings)).c_str());
        return;
    }
    printf("%s", options.asMonitor ? monitorText(findings).c_str() : findingLines(findings).c_str());
}

} // namespace

int checkEnvironment(const CheckOptions& options) {
    const Findings findings = runApart({std::begin(PARTS), std::end(PARTS)});
    print(findings, options);
    if (options.asMonitor) {
        return monitorStatus(worst(findings));
    }
    return worst(findings) < Verdict::UNKNOWN ? STATUS_DONE : STATUS_FAILED;
}

} // namespace storestate
