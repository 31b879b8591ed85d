#include "record/RecordView.h"

#include "storestate/RecordFormat.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <langinfo.h>
#include <nlohmann/json.hpp>
#include <string_view>
#include <vector>

namespace storestate {
namespace {

using Devices = OFUnorderedSet<OFString>;
using Names = std::vector<std::string>;

/** What the picture is drawn with, each five columns wide. */
struct Pen {
    const char* arrow;
    const char* only;
    const char* first; ///< of several branches
    const char* middle;
    const char* last;
    const char* passing; ///< beside further devices of a branch, with branches below
};

constexpr Pen UTF8_PEN = {" ──▶ ", " ─── ", " ─┬─ ", "  ├─ ", "  └─ ", "  │  "};
constexpr Pen ASCII_PEN = {" --> ", " --- ", " -+- ", "  +- ", "  `- ", "  |  "};
constexpr size_t PEN_WIDTH = 5;
constexpr size_t LABEL_WIDTH = 9;
constexpr size_t KEY_WIDTH = 13;

/** Where the picture shows a property. */
struct Place {
    enum Kind { SOURCE, OWNER, BRANCH } kind;
    std::string_view key;
    const char* label; ///< of a branch
};

/** What stands here is drawn, in this order; all the rest is listed. */
constexpr Place PLACES[] = {
    {Place::SOURCE, "SourceDevice", ""},          {Place::OWNER, "OwnerDevice", ""},
    {Place::BRANCH, "ArchiveDevice", "archive"},  {Place::BRANCH, "StagedDevices", "staged"},
    {Place::BRANCH, "ForwardDevices", "forward"},
};

/** Devices in one role. */
struct Branch {
    const char* label;
    Names devices;
};

const Pen& pen() {
    return strcmp(nl_langinfo(CODESET), "UTF-8") == 0 ? UTF8_PEN : ASCII_PEN;
}

std::string text(const OFString& value) {
    return printable(value.c_str());
}

Names names(const Devices& devices) {
    Names found;
    for (unsigned int i = 0; i < devices.NumberOfElements(); ++i) {
        found.push_back(text(devices[i]));
    }
    return found;
}

/** What stands behind the property's key, a name for each device; none for a property that is not set. */
Names values(const RecordProperty& property) {
    if (const auto* number = std::get_if<int32_t>(&property.value)) {
        return {*number != 0 ? std::to_string(*number) : "none: a record of the earlier generation"};
    }
    if (const auto* marking = std::get_if<bool>(&property.value)) {
        return *marking ? Names{"yes"} : Names();
    }
    if (const auto* devices = std::get_if<const Devices*>(&property.value)) {
        return names(**devices);
    }
    const OFString& value = *std::get<const OFString*>(property.value);
    return value.empty() ? Names() : Names{text(value)};
}

Names valuesOf(const StoreState& state, std::string_view key) {
    for (const RecordProperty& property : recordProperties(state)) {
        if (property.key == key) {
            return values(property);
        }
    }
    return {};
}

/** The one device in a place; empty for none. */
std::string deviceIn(const StoreState& state, Place::Kind kind) {
    for (const Place& place : PLACES) {
        const Names found = place.kind == kind ? valuesOf(state, place.key) : Names();
        if (!found.empty()) {
            return found.front();
        }
    }
    return "";
}

std::vector<Branch> branches(const StoreState& state) {
    std::vector<Branch> found;
    for (const Place& place : PLACES) {
        const Names devices = place.kind == Place::BRANCH ? valuesOf(state, place.key) : Names();
        if (!devices.empty()) {
            found.push_back({place.label, devices});
        }
    }
    return found;
}

bool isDrawn(const RecordProperty& property) {
    return std::any_of(std::begin(PLACES), std::end(PLACES),
                       [&](const Place& place) { return place.key == property.key; });
}

std::string ownerText(const StoreState& state) {
    const std::string owner = deviceIn(state, Place::OWNER);
    return !owner.empty() ? owner : state.studyOwner ? "(owned locally)" : "(no owner)";
}

std::string devicePicture(const StoreState& state, const Style& style) {
    const Pen& with = pen();
    const std::string source = deviceIn(state, Place::SOURCE);
    const std::string owner = ownerText(state);
    const std::string indent(2 + (source.empty() ? 0 : source.size() + PEN_WIDTH) + owner.size(), ' ');
    std::string picture = "  " + (source.empty() ? "" : source + with.arrow) + style.title(owner);

    const std::vector<Branch> all = branches(state);
    for (size_t i = 0; i < all.size(); ++i) {
        const bool isLast = i + 1 == all.size();
        const char* fork = i == 0 ? (isLast ? with.only : with.first) : (isLast ? with.last : with.middle);
        picture += (i == 0 ? "" : "\n" + indent) + fork + style.faint(padded(all[i].label, LABEL_WIDTH));
        const std::string beside = indent + (isLast ? std::string(PEN_WIDTH, ' ') : with.passing);
        const Names& devices = all[i].devices;
        for (size_t j = 0; j < devices.size(); ++j) {
            picture += (j == 0 ? "" : "\n" + beside + std::string(LABEL_WIDTH, ' ')) + devices[j];
        }
    }
    return picture + "\n";
}

std::string joined(const Names& words) {
    std::string all;
    for (const std::string& word : words) {
        all += (all.empty() ? "" : " ") + word;
    }
    return all;
}

} // namespace

nlohmann::ordered_json recordJson(const StoreState& state) {
    nlohmann::ordered_json json;
    for (const RecordProperty& property : recordProperties(state)) {
        nlohmann::ordered_json& target = json[std::string(property.key)];
        if (const auto* value = std::get_if<const OFString*>(&property.value)) {
            target = (*value)->c_str();
        } else if (const auto* devices = std::get_if<const Devices*>(&property.value)) {
            target = nlohmann::ordered_json::array();
            for (unsigned int i = 0; i < (*devices)->NumberOfElements(); ++i) {
                target.push_back((**devices)[i].c_str());
            }
        } else if (const auto* number = std::get_if<int32_t>(&property.value)) {
            target = *number;
        } else {
            target = std::get<bool>(property.value);
        }
    }
    return json;
}

std::string recordPicture(const StoreState& state, const Style& style) {
    std::string picture = devicePicture(state, style) + "\n";
    for (const RecordProperty& property : recordProperties(state)) {
        const Names found = isDrawn(property) ? Names() : values(property);
        if (!found.empty()) {
            picture += "  " + style.faint(padded(std::string(property.key), KEY_WIDTH)) + joined(found) + "\n";
        }
    }
    return picture;
}

} // namespace storestate
