#ifndef TOOLS_TERMINAL_SUGGESTION_H
#define TOOLS_TERMINAL_SUGGESTION_H

#include <string>
#include <vector>

namespace storestate {

/** " Did you mean <name>?" with the name that is spelt most like `word`; empty when none is near. */
std::string suggestion(const std::string& word, const std::vector<std::string>& names);

} // namespace storestate

#endif
