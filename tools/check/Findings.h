/** What `storestate check` found: what was checked, its state, and what to do about it. */
#ifndef TOOLS_CHECK_FINDINGS_H
#define TOOLS_CHECK_FINDINGS_H

#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace storestate {

/** In rising order of concern. */
enum class Verdict {
    GOOD,
    NOTE,    ///< the library works, but somebody should know
    UNKNOWN, ///< it could not be checked
    BAD,     ///< the library does not work, or not reliably
};

struct Finding {
    Verdict verdict = Verdict::UNKNOWN;
    std::string subject; ///< an environment variable, or what else was checked
    std::string text;
    std::string remedy; ///< what to do; empty when there is nothing
};

using Findings = std::vector<Finding>;

/** Takes the findings of a part as they come. */
using Report = std::function<void(const Finding&)>;

/** The verdict of most concern; GOOD when nothing was found. */
Verdict worst(const Findings& findings);

/** A line per finding. */
std::string findingLines(const Findings& findings);

/** The object that --json prints. */
nlohmann::ordered_json findingsAsJson(const Findings& findings);

/** The one line that a monitoring system shows, with counts behind a "|", and the lines of what is not good. */
std::string monitorText(const Findings& findings);

/** The status of a monitoring plug-in: 0 good, 1 notes, 2 bad, 3 something could not be checked. */
int monitorStatus(Verdict worst);

// By these names the JSON library finds them.
void to_json(nlohmann::ordered_json& json, const Finding& finding);
void from_json(const nlohmann::ordered_json& json, Finding& finding);

} // namespace storestate

#endif
