/** A record laid out for people and for scripts. */
#ifndef TOOLS_RECORD_RECORDVIEW_H
#define TOOLS_RECORD_RECORDVIEW_H

#include "storestate/StoreState.h"
#include "terminal/Terminal.h"

#include <nlohmann/json_fwd.hpp>

namespace storestate {

/** Every property under its key: number, text, true or false, list of names. */
nlohmann::ordered_json recordJson(const StoreState& state);

/**
 * The way of the study through its devices as a small picture, then the other properties that are set, one per line.
 * The picture uses line-drawing characters where the locale has them.
 */
std::string recordPicture(const StoreState& state, const Style& style);

} // namespace storestate

#endif
