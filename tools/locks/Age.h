/** Ages, as people write and read them. */
#ifndef TOOLS_LOCKS_AGE_H
#define TOOLS_LOCKS_AGE_H

#include <cstdint>
#include <optional>
#include <string>

namespace storestate {

/** "90s", "10m", "2h", "3d" in seconds; nothing for what is no age. */
std::optional<int64_t> parseAge(const std::string& text);

/** "3 h 20 min"; "in the future" for less than 0. */
std::string ageText(int64_t seconds);

} // namespace storestate

#endif
