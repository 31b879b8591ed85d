/** What `storestate check` found: what was checked, its state, and what to do about it. */
#ifndef TOOLS_CHECK_FINDINGS_H
#define TOOLS_CHECK_FINDINGS_H

#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace storestate {

/** From best to worst. */
enum class Verdict {
    GOOD,
    NOTE,    ///< the library works, but an operator should know
    UNKNOWN, ///< it could not be checked
    BAD,     ///< the library does not work, or not reliably
};

struct Finding {
    Verdict verdict = Verdict::UNKNOWN;
    std::string subject; ///< an environment variable, or what else was checked
    std::string text;
    std::string remedy; ///< what to do; empty if nothing
};

using Findings = std::vector<Finding>;

/** Receives the findings of a part, one by one. */
using Report = std::function<void(const Finding&)>;

/** The worst verdict; GOOD if there are no findings. */
Verdict worst(const Findings& findings);

/** One line per finding. */
std::string findingLines(const Findings& findings);

/** The object that --json prints. */
nlohmann::ordered_json findingsAsJson(const Findings& findings);

/** The summary line for a monitoring system, with counts after a "|", then a line for each finding that is not good. */
std::string monitorText(const Findings& findings);

/** The status of a monitoring plug-in: 0 good, 1 notes, 2 bad, 3 something could not be checked. */
int monitorStatus(Verdict worst);

// The JSON library finds these functions by their names.
void to_json(nlohmann::ordered_json& json, const Finding& finding);
void from_json(const nlohmann::ordered_json& json, Finding& finding);

} // namespace storestate

#endif
