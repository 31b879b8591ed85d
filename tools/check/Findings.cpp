#include "check/Findings.h"

#include "check/Check.h"
#include "terminal/Text.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace storestate {
namespace {

using Json = nlohmann::ordered_json;

constexpr size_t SUBJECT_WIDTH = 24;

/** The names of a verdict. */
struct VerdictNames {
    const char* label;   ///< in front of a line
    const char* name;    ///< in JSON
    const char* monitor; ///< for a monitoring system
    int status;          ///< of a monitoring plug-in
    Verdict verdict;
};

constexpr VerdictNames NAMES[] = {
    {"ok    ", "good", "OK", 0, Verdict::GOOD},
    {"note  ", "note", "WARNING", 1, Verdict::NOTE},
    {"?     ", "unknown", "UNKNOWN", STATUS_MONITOR_UNKNOWN, Verdict::UNKNOWN},
    {"BAD   ", "bad", "CRITICAL", 2, Verdict::BAD},
};

const VerdictNames& names(Verdict verdict) {
    return NAMES[static_cast<size_t>(verdict)];
}

Findings withoutGood(Findings findings) {
    findings.erase(std::remove_if(findings.begin(), findings.end(),
                                  [](const Finding& finding) { return finding.verdict == Verdict::GOOD; }),
                   findings.end());
    return findings;
}

std::string count(const Findings& findings, Verdict verdict) {
    return std::to_string(std::count_if(findings.begin(), findings.end(),
                                        [=](const Finding& finding) { return finding.verdict == verdict; }));
}

} // namespace

Verdict worst(const Findings& findings) {
    Verdict worst = Verdict::GOOD;
    for (const Finding& finding : findings) {
        worst = std::max(worst, finding.verdict);
    }
    return worst;
}

std::string findingLines(const Findings& findings) {
    std::string lines;
    for (const Finding& finding : findings) {
        const std::string remedy = finding.remedy.empty() ? "" : " -> " + finding.remedy;
        lines += names(finding.verdict).label + padded(finding.subject, SUBJECT_WIDTH) +
                 printable(finding.text + remedy) + "\n";
    }
    return lines;
}

Json findingsAsJson(const Findings& findings) {
    return {{"verdict", names(worst(findings)).name}, {"findings", findings}};
}

std::string monitorText(const Findings& findings) {
    const Verdict verdict = worst(findings);
    const Findings others = withoutGood(findings);
    std::string subjects;
    for (const Finding& finding : others) {
        if (finding.verdict == verdict) {
            subjects += (subjects.empty() ? ": " : "; ") + finding.subject + " " + finding.text;
        }
    }
    std::replace(subjects.begin(), subjects.end(), '|', '/'); // the counts follow behind it
    return std::string("STORESTATE ") + names(verdict).monitor + printable(subjects) +
           " | bad=" + count(findings, Verdict::BAD) + " unknown=" + count(findings, Verdict::UNKNOWN) +
           " notes=" + count(findings, Verdict::NOTE) + "\n" + findingLines(others);
}

int monitorStatus(Verdict worst) {
    return names(worst).status;
}

void to_json(Json& json, const Finding& finding) {
    json = {{"verdict", names(finding.verdict).name},
            {"subject", finding.subject},
            {"text", finding.text},
            {"remedy", finding.remedy}};
}

void from_json(const Json& json, Finding& finding) {
    for (const VerdictNames& verdict : NAMES) {
        finding.verdict = json.at("verdict") == verdict.name ? verdict.verdict : finding.verdict;
    }
    json.at("subject").get_to(finding.subject);
    json.at("text").get_to(finding.text);
    json.at("remedy").get_to(finding.remedy);
}

} // namespace storestate
