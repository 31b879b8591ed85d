#include "check/CheckOutput.h"

#include "commands/Commands.h"
#include "terminal/Terminal.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

namespace storestate {
namespace {

using Json = nlohmann::ordered_json;

// Functions and no pointers to members, of which GCC 14 warns without need.
using Colour = std::string (*)(const Style&, const std::string&);
constexpr Colour GREEN = [](const Style& style, const std::string& text) { return style.good(text); };
constexpr Colour YELLOW = [](const Style& style, const std::string& text) { return style.warning(text); };
constexpr Colour RED = [](const Style& style, const std::string& text) { return style.bad(text); };

/** How a verdict is called, in the order of the enumeration. */
struct VerdictNames {
    const char* label;   ///< in front of a line
    const char* name;    ///< in JSON
    const char* monitor; ///< for a monitoring system
    int status;
    Colour colour;
};

constexpr std::array<VerdictNames, 4> NAMES = {{
    {"ok  ", "good", "OK", 0, GREEN},
    {"note", "note", "WARNING", 1, YELLOW},
    {"?   ", "unknown", "UNKNOWN", STATUS_MONITOR_UNKNOWN, YELLOW},
    {"BAD ", "bad", "CRITICAL", 2, RED},
}};

const VerdictNames& names(Verdict verdict) {
    return NAMES[static_cast<size_t>(verdict)];
}

std::string whole(const Finding& finding) {
    return finding.text + (finding.remedy.empty() ? "" : " -> " + finding.remedy);
}

std::string line(const Finding& finding, const Style& style) {
    const VerdictNames& verdict = names(finding.verdict);
    const std::string gap(std::max<size_t>(24, finding.subject.size() + 1) - finding.subject.size(), ' ');
    return verdict.colour(style, verdict.label) + "  " + finding.subject + gap + printable(whole(finding)) + "\n";
}

size_t count(const CheckReport& report, Verdict verdict) {
    const std::vector<Finding>& found = report.findings();
    return static_cast<size_t>(
        std::count_if(found.begin(), found.end(), [=](const Finding& finding) { return finding.verdict == verdict; }));
}

} // namespace

std::string findingLines(const CheckReport& report, bool quiet) {
    const Style style(stdout);
    std::string lines;
    for (const Finding& finding : report.findings()) {
        if (!quiet || finding.verdict != Verdict::GOOD) {
            lines += line(finding, style);
        }
    }
    return lines;
}

Json reportAsJson(const CheckReport& report, bool quiet) {
    Json list = Json::array();
    for (const Finding& finding : report.findings()) {
        if (!quiet || finding.verdict != Verdict::GOOD) {
            list.push_back(findingAsJson(finding));
        }
    }
    return {{"verdict", names(report.worst()).name}, {"findings", list}};
}

std::string monitorLine(const CheckReport& report) {
    std::string subjects;
    for (const Finding& finding : report.findings()) {
        if (finding.verdict == report.worst() && finding.verdict != Verdict::GOOD) {
            subjects += (subjects.empty() ? ": " : "; ") + finding.subject + " " + finding.text;
        }
    }
    std::replace(subjects.begin(), subjects.end(), '|', '/'); // behind it come the counts
    return std::string("STORESTATE ") + names(report.worst()).monitor + printable(subjects) +
           " | bad=" + std::to_string(count(report, Verdict::BAD)) +
           " unknown=" + std::to_string(count(report, Verdict::UNKNOWN)) +
           " notes=" + std::to_string(count(report, Verdict::NOTE)) + "\n";
}

int monitorStatus(Verdict worst) {
    return names(worst).status;
}

Json findingAsJson(const Finding& finding) {
    return {{"verdict", names(finding.verdict).name},
            {"subject", finding.subject},
            {"text", finding.text},
            {"remedy", finding.remedy}};
}

Finding findingFromJson(const Json& json) {
    const auto* verdict = std::find_if(NAMES.begin(), NAMES.end(),
                                       [&](const VerdictNames& names) { return json.at("verdict") == names.name; });
    return {static_cast<Verdict>(verdict - NAMES.begin()), json.at("subject"), json.at("text"), json.at("remedy")};
}

} // namespace storestate
