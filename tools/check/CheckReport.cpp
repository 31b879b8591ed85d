#include "check/CheckReport.h"

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
    const char* value = getenv(variable);
    if (value == nullptr || *value == '\0') {
        report.bad(variable, value == nullptr ? "not set" : "empty", remedy);
        return false;
    }
    return true;
}

} // namespace storestate
