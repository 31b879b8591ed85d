/** A record for people and for scripts. */
#ifndef TOOLS_RECORD_RECORDVIEW_H
#define TOOLS_RECORD_RECORDVIEW_H

#include "storestate/StoreState.h"

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace storestate {

/** Every property under its key: number, text, true or false, list of names. */
nlohmann::ordered_json recordJson(const StoreState& state);

/** "  <key>  <value>", sanitised. */
std::string propertyLine(const std::string& key, const std::string& value);

/** The properties that are set, one per line. */
std::string propertyLines(const StoreState& state);

/** Prints the study, then the lines that its record loses, marked "-", and those that it gains, marked "+". */
void printChange(const std::string& study, const std::string& before, const std::string& after);

} // namespace storestate

#endif
