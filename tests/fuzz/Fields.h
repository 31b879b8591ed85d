#ifndef TESTS_FUZZ_FIELDS_H
#define TESTS_FUZZ_FIELDS_H

#include "storestate/RecordFormat.h"
#include "storestate/TextFile.h"
#include "support/QXException.h"
#include "support/Workplace.h"

#include <map>
#include <unistd.h>

using namespace storestate;

#define REQUIRE(condition) ((condition) ? void() : (dprintf(STDERR_FILENO, "violated: %s\n", #condition), abort()))

using Fields = std::map<std::string, std::string>; ///< what a record stores, by key

inline Fields fields(const StoreState& state) {
    struct {
        std::string operator()(int32_t number) const { return std::to_string(number); }
        std::string operator()(bool marking) const { return marking ? "yes" : ""; }
        std::string operator()(const OFString* text) const { return *text; }
        std::string operator()(const OFUnorderedSet<OFString>* names) const {
            std::string all;
            for (unsigned i = 0; i < names->NumberOfElements(); ++i) { all += (*names)[i] + '\0'; }
            return all;
        }
    } text;
    Fields found;
    for (const auto& [key, value] : recordProperties(state)) { found[std::string(key)] = std::visit(text, value); }
    return found;
}

/** The next part of the input, up to the separator. */
inline std::string take(std::string& input, char separator) {
    const std::string part = input.substr(0, input.find(separator));
    input.erase(0, part.size() + 1);
    return part;
}

#endif
