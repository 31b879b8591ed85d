#include "storestate/ModifyOptions.h"

#include <algorithm>

namespace {

void add(OFUnorderedSet<OFString>& devices, const OFString& device) {
    if (!devices.Contains(device)) {
        devices.Insert(device);
    }
}

/** If the device is the owner, the study becomes owned locally. */
void disown(StoreState& state, const OFString& device) {
    if (state.ownerDevice == device) {
        state.ownerDevice = "";
        state.studyOwner = true;
    }
}

bool isYes(const OFString& value) {
    return value == "yes";
}

void setOwner(StoreState& state, const OFString& value) {
    state.ownerDevice = value;
    state.studyOwner = value.empty();
    state.stagedDevices.Remove(value);
    state.reportOnlyDevices.Remove(value);
}

void setStaged(StoreState& state, const OFString& value) {
    add(state.stagedDevices, value);
    state.reportOnlyDevices.Remove(value);
    disown(state, value);
}

void setReportOnly(StoreState& state, const OFString& value) {
    add(state.reportOnlyDevices, value);
    state.stagedDevices.Remove(value);
    disown(state, value);
}

void removeDevice(StoreState& state, const OFString& value) {
    disown(state, value);
    state.reportOnlyDevices.Remove(value);
    state.stagedDevices.Remove(value);
    state.forwardDevices.Remove(value);
}

void setStudyOwner(StoreState& state, const OFString& value) {
    state.studyOwner = isYes(value);
    if (state.studyOwner) {
        state.ownerDevice = "";
    }
}

using TextMember = OFString StoreState::*;
using FlagMember = bool StoreState::*;

template <TextMember FIELD>
void setText(StoreState& state, const OFString& value) {
    state.*FIELD = value;
}

template <FlagMember FIELD>
void setFlag(StoreState& state, const OFString& value) {
    state.*FIELD = isYes(value);
}

void addForwardDevice(StoreState& state, const OFString& value) {
    add(state.forwardDevices, value);
}

void setAutoForwardDevices(StoreState& state, const OFString& value) {
    state.setAutoForwardDevice(value.c_str());
}

constexpr char YES[] = "\"yes\" sets the flag, anything else clears it";

constexpr ModifyOption OPTIONS[] = {
    {"--processmode", "-p", "processing mode, one word", false, setText<&StoreState::processMode>},
    {"--stagestate", "-g", "staging state, one word", false, setText<&StoreState::stageState>},
    {"--folder", "-f", "folder that the study is filed under", false, setText<&StoreState::folder>},
    {"--source", "-c", "device that the study came from", false, setText<&StoreState::sourceDevice>},
    {"--archive", "-a", "device that the study is archived on", false, setText<&StoreState::archiveDevice>},
    {"--setowner", "-o", "owner device, no longer staged; empty: owned locally", false, setOwner},
    {"--setstaged", "-s", "device that the study is staged on, no longer its owner", false, setStaged},
    {"--setreportonly", "-e", "device that is neither owner nor staged any more", false, setReportOnly},
    {"--removedevice", "-r", "device that is no owner, staged or forward device any more", false, removeDevice},
    {"--fwddevice", "-w", "device that the study is to be forwarded to", false, addForwardDevice},
    {"--derived", "-d", "free text", false, setText<&StoreState::derived>},
    {"--sourcestudy", "-y", "free text", false, setText<&StoreState::sourceStudy>},
    {"--dontedit", "-U", YES, true, setFlag<&StoreState::dontEdit>},
    {"--dontdelete", "-D", YES, true, setFlag<&StoreState::dontDelete>},
    {"--retrieved", "-R", YES, true, setFlag<&StoreState::retrieved>},
    {"--owner", "-O", "\"yes\": owned locally, without an owner device; anything else: not", true, setStudyOwner},
    {"--autodevice", "-b", "auto-forward devices, ID.TYPE;ID.TYPE, in place of the database's", false,
     setAutoForwardDevices},
};

} // namespace

std::vector<ModifyOption> modifyOptions() {
    return {std::begin(OPTIONS), std::end(OPTIONS)};
}

const ModifyOption* findModifyOption(const OFString& name) {
    const auto* found = std::find_if(std::begin(OPTIONS), std::end(OPTIONS), [&](const ModifyOption& option) {
        return name == option.longName || name == option.shortName;
    });
    return found != std::end(OPTIONS) ? found : nullptr;
}

void applyModifyOption(StoreState& state, const OFString& name, const OFString& value) {
    const ModifyOption* option = findModifyOption(name);
    if (option != nullptr) {
        option->apply(state, value);
    }
}

bool loadForModify(StoreState& state, int32_t existenceMode) {
    // First without waiting for the lock, then under it: the record may have been created or removed meanwhile.
    switch (existenceMode) {
    case RECORD_MUST_EXIST:
        return state.mayExist() && state.load();
    case RECORD_MUST_NOT_EXIST:
        return !state.exists() && !state.load();
    default:
        state.load();
        return true;
    }
}

OptionPairs pairsOf(const std::vector<OptionPair>& list) {
    return [next = list.begin(), end = list.end()](OptionPair& pair) mutable {
        if (next == end) {
            return NextPair::NONE_LEFT;
        }
        pair = *next++;
        return NextPair::READ;
    };
}

ModifyResult applyModification(StoreState& state, int32_t existenceMode, const OptionPairs& pairs) {
    if (!loadForModify(state, existenceMode)) {
        return ModifyResult::WRONG_EXISTENCE;
    }
    OptionPair pair;
    NextPair next = pairs(pair);
    for (; next == NextPair::READ; next = pairs(pair)) {
        applyModifyOption(state, pair.name, pair.value);
    }
    return next == NextPair::NONE_LEFT ? ModifyResult::DONE : ModifyResult::PAIR_UNAVAILABLE;
}

ModifyResult modifyRecord(StoreState& state, int32_t existenceMode, const OptionPairs& pairs) {
    const ModifyResult applied = applyModification(state, existenceMode, pairs);
    if (applied != ModifyResult::DONE) {
        return applied;
    }
    return state.save() ? ModifyResult::DONE : ModifyResult::NO_TEMPORARY_FILE;
}
