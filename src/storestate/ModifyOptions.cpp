#include "storestate/ModifyOptions.h"

#include <algorithm>

namespace {

using Devices = OFUnorderedSet<OFString>;

void add(Devices& devices, const OFString& name) {
    if (!devices.Contains(name)) {
        devices.Insert(name);
    }
}

/** A device that stops being the owner leaves the study to be owned locally. */
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

constexpr ModifyOption OPTIONS[] = {
    {"--processmode", "-p", [](StoreState& state, const OFString& value) { state.processMode = value; }},
    {"--stagestate", "-g", [](StoreState& state, const OFString& value) { state.stageState = value; }},
    {"--folder", "-f", [](StoreState& state, const OFString& value) { state.folder = value; }},
    {"--source", "-c", [](StoreState& state, const OFString& value) { state.sourceDevice = value; }},
    {"--archive", "-a", [](StoreState& state, const OFString& value) { state.archiveDevice = value; }},
    {"--setowner", "-o", setOwner},
    {"--setstaged", "-s", setStaged},
    {"--setreportonly", "-e", setReportOnly},
    {"--removedevice", "-r", removeDevice},
    {"--fwddevice", "-w", [](StoreState& state, const OFString& value) { add(state.forwardDevices, value); }},
    {"--derived", "-d", [](StoreState& state, const OFString& value) { state.derived = value; }},
    {"--sourcestudy", "-y", [](StoreState& state, const OFString& value) { state.sourceStudy = value; }},
    {"--dontedit", "-U", [](StoreState& state, const OFString& value) { state.dontEdit = isYes(value); }},
    {"--dontdelete", "-D", [](StoreState& state, const OFString& value) { state.dontDelete = isYes(value); }},
    {"--retrieved", "-R", [](StoreState& state, const OFString& value) { state.retrieved = isYes(value); }},
    {"--owner", "-O", setStudyOwner},
    {"--autodevice", "-b", [](StoreState& state, const OFString& value) { state.setAutoForwardDevice(value.c_str()); }},
};

} // namespace

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
    const bool conditional = existenceMode == RECORD_MUST_NOT_EXIST || existenceMode == RECORD_MUST_EXIST;
    const bool wanted = existenceMode == RECORD_MUST_EXIST;
    if (conditional && state.exists() != wanted) {
        return false; // most violations are seen here, without waiting for the lock
    }
    const bool loaded = state.load();
    return !conditional || loaded == wanted; // the record may have come or gone meanwhile
}
