#include "check/CheckReport.h"

#include "process/ServerEnvironment.h"

#include <algorithm>
#include <cstdlib>

namespace storestate {

void CheckReport::add(const Finding& finding) {
    found.push_back(finding);
    if (observer) {
        observer(finding);
    }
}

Verdict CheckReport::worst() const {
    Verdict worst = Verdict::GOOD;
    for (const Finding& finding : found) {
        worst = std::max(worst, finding.verdict);
    }
    return worst;
}

std::string setting(const char* variable) {
    const char* value = getenv(variable);
    return value != nullptr ? value : "";
}

bool requireSetting(CheckReport& report, const char* variable, const std::string& remedy) {
    const std::string fault = variableFault(variable);
    if (!fault.empty()) {
        report.bad(variable, fault, remedy);
    }
    return fault.empty();
}

} // namespace storestate
