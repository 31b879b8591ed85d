#ifndef TOOLS_RECORD_RECORDCHANGE_H
#define TOOLS_RECORD_RECORDCHANGE_H

#include "storestate/StoreState.h"
#include "terminal/Terminal.h"

#include <string>

namespace storestate {

/** The lines that go from a record, marked "-", and those that come, marked "+", each indented; empty: none. */
std::string changeText(const std::string& before, const std::string& after, const Style& style);

/** The text of the record when it is converted now, in memory. Throws as StoreState::load(). Takes no lock. */
std::string convertedText(const std::string& study);

/** Prints what would change in the study's record, under its name. */
void printChange(const std::string& study, const std::string& before, const std::string& after);

} // namespace storestate

#endif
