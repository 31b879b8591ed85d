#include "terminal/Suggestion.h"

#include <algorithm>
#include <cctype>

namespace storestate {
namespace {

constexpr size_t FARTHEST = 2; ///< letters wrong, missing or too many

/** How many letters have to be changed, added or taken away; upper and lower case are the same. */
size_t distance(const std::string& left, const std::string& right) {
    std::vector<size_t> row(right.size() + 1);
    for (size_t j = 0; j < row.size(); ++j) {
        row[j] = j;
    }
    for (size_t i = 1; i <= left.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j < row.size(); ++j) {
            const bool same =
                tolower(static_cast<unsigned char>(left[i - 1])) == tolower(static_cast<unsigned char>(right[j - 1]));
            const size_t changed = diagonal + (same ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({changed, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

} // namespace

std::string suggestion(const std::string& word, const std::vector<std::string>& names) {
    const std::string* nearest = nullptr;
    size_t least = FARTHEST + 1;
    for (const std::string& name : names) {
        const size_t away = distance(word, name);
        if (away < least && away < name.size() / 2 + 1) {
            nearest = &name;
            least = away;
        }
    }
    return nearest != nullptr ? " Did you mean " + *nearest + "?" : "";
}

} // namespace storestate
