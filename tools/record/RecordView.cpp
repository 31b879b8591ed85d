#include "record/RecordView.h"

#include "storestate/RecordFormat.h"
#include "terminal/Text.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace storestate {
namespace {

using Devices = OFUnorderedSet<OFString>;
using Json = nlohmann::ordered_json;

constexpr size_t KEY_WIDTH = 16;

/** One overload for each kind of property; this one for numbers and flags. */
template <class Value>
Json toJson(Value value) {
    return value;
}

Json toJson(const OFString* text) {
    return text->c_str();
}

Json toJson(const Devices* devices) {
    Json names = Json::array();
    for (unsigned int i = 0; i < devices->NumberOfElements(); ++i) {
        names.push_back((*devices)[i].c_str());
    }
    return names;
}

/** The value as text; empty for a property that is not set. */
std::string plainText(const Json& value) {
    if (value.is_boolean()) {
        return value.get<bool>() ? "yes" : "";
    }
    if (value.is_number()) {
        return value == 0 ? "none: a record of the earlier generation" : value.dump();
    }
    if (value.is_string()) {
        return value.get<std::string>();
    }
    std::string names;
    for (const Json& name : value) {
        names += (names.empty() ? "" : " ") + name.get<std::string>();
    }
    return names;
}

/** The lines of `text` that `other` lacks, sanitised. */
std::vector<std::string> linesMissing(const std::string& text, const std::string& other) {
    const std::vector<std::string> others = splitLines(other);
    std::vector<std::string> missing;
    for (const std::string& line : splitLines(text)) {
        if (std::find(others.begin(), others.end(), line) == others.end()) {
            missing.push_back(printable(line));
        }
    }
    return missing;
}

} // namespace

Json recordJson(const StoreState& state) {
    Json json;
    for (const RecordProperty& property : recordProperties(state)) {
        json[std::string(property.key)] = std::visit([](auto value) { return toJson(value); }, property.value);
    }
    return json;
}

std::string propertyLine(const std::string& key, const std::string& value) {
    return "  " + padded(key, KEY_WIDTH) + printable(value) + "\n";
}

std::string propertyLines(const StoreState& state) {
    const Json json = recordJson(state);
    std::string lines;
    for (const auto& [key, value] : json.items()) {
        const std::string text = plainText(value);
        lines += text.empty() ? "" : propertyLine(key, text);
    }
    return lines;
}

void printChange(const std::string& study, const std::string& before, const std::string& after) {
    printf("%s\n", printable(study).c_str());
    for (const std::string& line : linesMissing(before, after)) {
        printf("  - %s\n", line.c_str());
    }
    for (const std::string& line : linesMissing(after, before)) {
        printf("  + %s\n", line.c_str());
    }
}

} // namespace storestate
