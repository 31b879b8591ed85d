/** How the findings reach who asked: a person, a script, or a monitoring system. */
#ifndef TOOLS_CHECK_CHECKOUTPUT_H
#define TOOLS_CHECK_CHECKOUTPUT_H

#include "check/CheckReport.h"

#include <nlohmann/json_fwd.hpp>

namespace storestate {

/** A line per finding; with `quiet` only for those that are not good. */
std::string findingLines(const CheckReport& report, bool quiet);

/** The object that --json prints; with `quiet` it lists only what is not good. */
nlohmann::ordered_json reportAsJson(const CheckReport& report, bool quiet);

/** The one line that a monitoring system shows, with its counts behind a "|". */
std::string monitorLine(const CheckReport& report);

/** What monitoring systems that know Nagios's plug-ins take: 0 good, 1 notes, 2 bad, 3 not all could be looked at. */
int monitorStatus(Verdict worst);

nlohmann::ordered_json findingAsJson(const Finding& finding);

/** The other way round, for what findingAsJson() has made. */
Finding findingFromJson(const nlohmann::ordered_json& json);

} // namespace storestate

#endif
