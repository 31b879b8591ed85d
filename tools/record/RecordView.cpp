#include "record/RecordView.h"

#include "storestate/RecordFormat.h"

#include <cstring>
#include <langinfo.h>
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

std::string padded(const std::string& word, size_t width) {
    return word + std::string(word.size() < width ? width - word.size() : 1, ' ');
}

std::vector<Branch> branches(const StoreState& state) {
    const Names archive = state.archiveDevice.empty() ? Names() : Names{text(state.archiveDevice)};
    std::vector<Branch> found;
    for (const Branch& branch : {Branch{"archive", archive}, Branch{"staged", names(state.stagedDevices)},
                                 Branch{"forward", names(state.forwardDevices)}}) {
        if (!branch.devices.empty()) {
            found.push_back(branch);
        }
    }
    return found;
}

std::string ownerText(const StoreState& state) {
    if (!state.ownerDevice.empty()) {
        return text(state.ownerDevice);
    }
    return state.studyOwner ? "(owned locally)" : "(no owner)";
}

std::string devicePicture(const StoreState& state, const Style& style) {
    const Pen& with = pen();
    const std::string source = text(state.sourceDevice);
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

/** Whether the picture shows the property, so that it need not be listed. */
bool isDrawn(const StoreState& state, const RecordProperty& property) {
    if (const auto* value = std::get_if<const OFString*>(&property.value)) {
        return *value == &state.ownerDevice || *value == &state.sourceDevice || *value == &state.archiveDevice;
    }
    return std::holds_alternative<const Devices*>(property.value);
}

/** What stands behind the property's key; nothing for one that is not set. */
std::string valueText(const RecordProperty& property) {
    if (const auto* number = std::get_if<int32_t>(&property.value)) {
        return *number != 0 ? std::to_string(*number) : "none: a record of the earlier generation";
    }
    if (const auto* marking = std::get_if<bool>(&property.value)) {
        return *marking ? "yes" : "";
    }
    return text(*std::get<const OFString*>(property.value));
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
        const std::string value = isDrawn(state, property) ? "" : valueText(property);
        if (!value.empty()) {
            picture += "  " + style.faint(padded(std::string(property.key), KEY_WIDTH)) + value + "\n";
        }
    }
    return picture;
}

} // namespace storestate
