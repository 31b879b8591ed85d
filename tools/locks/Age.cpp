#include "locks/Age.h"

namespace storestate {
namespace {

constexpr int64_t MINUTE = 60;
constexpr int64_t HOUR = 60 * MINUTE;
constexpr int64_t DAY = 24 * HOUR;
constexpr size_t MOST_DIGITS = 9;

int64_t unitSeconds(const std::string& unit) {
    return unit == "s" ? 1 : unit == "m" ? MINUTE : unit == "h" ? HOUR : unit == "d" ? DAY : 0;
}

} // namespace

std::optional<int64_t> parseAge(const std::string& text) {
    const size_t digits = text.find_first_not_of("0123456789");
    if (digits == std::string::npos || digits == 0 || digits > MOST_DIGITS || unitSeconds(text.substr(digits)) == 0) {
        return std::nullopt;
    }
    return std::stoll(text) * unitSeconds(text.substr(digits));
}

std::string ageText(int64_t seconds) {
    if (seconds < 0) {
        return "in the future";
    }
    if (seconds < MINUTE) {
        return std::to_string(seconds) + " s";
    }
    if (seconds < HOUR) {
        return std::to_string(seconds / MINUTE) + " min";
    }
    return seconds < 2 * DAY ? std::to_string(seconds / HOUR) + " h " + std::to_string(seconds % HOUR / MINUTE) + " min"
                             : std::to_string(seconds / DAY) + " d " + std::to_string(seconds % DAY / HOUR) + " h";
}

} // namespace storestate
