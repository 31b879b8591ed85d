#include "check/Directories.h"
#include "commands/Commands.h"
#include "commands/Failure.h"
#include "commands/StudyWork.h"
#include "locks/LockFiles.h"
#include "record/RecordChange.h"
#include "record/StoredRecord.h"
#include "storestate/ModifyOptions.h"
#include "storestate/RecordFormat.h"
#include "terminal/Interruption.h"
#include "terminal/Suggestion.h"
#include "terminal/Terminal.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/statvfs.h>
#include <unistd.h>
#include <utility>

namespace storestate {
namespace {

/** What is wrong with the options as they stand on the command line; empty when nothing is. */
std::string mistake(const std::vector<std::string>& options) {
    for (size_t i = 0; i < options.size(); i += 2) {
        if (findModifyOption(options[i].c_str()) == nullptr) {
            return "There is no option " + options[i] + "." + suggestion(options[i], modifyOptionNames());
        }
        if (i + 1 == options.size()) {
            return "Option " + options[i] + " lacks its value.";
        }
    }
    return "";
}

/** Whether the option sets a marking of the record, which takes "yes". */
bool setsMarking(const ModifyOption& option) {
    StoreState probe("-", ".");
    probe.autoForwardDevices.push_back(new StoreState::StoreDevice("", "")); // so that nobody asks the database
    option.apply(probe, "yes");
    const std::vector<RecordProperty> properties = recordProperties(probe);
    return std::any_of(properties.begin(), properties.end(), [](const RecordProperty& property) {
        const auto* marking = std::get_if<bool>(&property.value);
        return marking != nullptr && *marking;
    });
}

/** "YES" clears what somebody wanted to set. */
void pointOutMarkings(const ModifyRequest& request) {
    for (size_t i = 0; i < request.options.size(); i += 2) {
        const std::string& value = request.options[i + 1];
        if (value != "yes" && value != "no" && setsMarking(*findModifyOption(request.options[i].c_str()))) {
            printRemark(request.study,
                        request.options[i] + R"( ")" + value + R"(" clears the marking: only "yes" sets it.)");
        }
    }
}

void applyOptions(StoreState& state, const std::vector<std::string>& options) {
    for (size_t i = 0; i < options.size(); i += 2) {
        applyModifyOption(state, options[i].c_str(), options[i + 1].c_str());
    }
}

std::string spaceFault(const std::string& directory) {
    struct statvfs space;
    return statvfs(directory.c_str(), &space) == 0 && isFull(space) ? directory + ": " + strerror(ENOSPC) : "";
}

/** Says why saving would fail for reasons outside the record. */
int reportObstacles(const ModifyRequest& request, const StoredRecord& record) {
    std::vector<std::pair<std::string, int>> directories = {{writingDirectory(record), TO_SAVE}};
    if (!request.lockHeld) {
        directories.emplace_back(record.state.semaphore.lockDir, TO_LOCK);
    }
    int status = request.lockHeld ? STATUS_DONE : reportLock(request.study);
    for (const auto& [directory, rights] : directories) {
        const std::string denied = accessFault(directory, rights);
        const std::string fault = denied.empty() ? spaceFault(directory) : denied;
        if (!fault.empty()) {
            status = combined(status, complain(request.study, "Writing would fail: " + fault, STATUS_FAILED));
        }
    }
    return status;
}

bool violates(int32_t existenceMode, bool exists) {
    return (existenceMode == RECORD_MUST_EXIST && !exists) || (existenceMode == RECORD_MUST_NOT_EXIST && exists);
}

int complainAboutExistence(const ModifyRequest& request, const StoredRecord& record) {
    return complain(request.study,
                    request.existenceMode == RECORD_MUST_EXIST ? record.absence() : "The record exists already.",
                    STATUS_EXISTENCE);
}

/** Does in memory what the call would do. */
int tryModification(const ModifyRequest& request, const StoredRecord& record, bool exists) {
    StoreState state(request.study.c_str(), "");
    state.useLock = false;
    state.diagnostics = nullptr;
    state.load();
    applyOptions(state, request.options);
    if (state.version == 0) {
        state.addAutoForwardDevices(false);
        state.version = 1;
    }
    const std::string after = formatRecord(state);
    requireReadable(state, after);
    printChange(request.study, exists ? formatRecord(record.state) : "", after);
    return reportObstacles(request, record);
}

int modify(const ModifyRequest& request, StoreState& state, const StoredRecord& before) {
    state.useLock = false; // it is taken already, or the caller's
    if (!loadForModify(state, request.existenceMode)) {
        return complain(request.study, "The record came or went just now.", STATUS_EXISTENCE);
    }
    applyOptions(state, request.options);
    state.useLock = !request.lockHeld; // to be given back
    saveOrThrow(state, before);
    return STATUS_DONE;
}

int lookAndModify(const ModifyRequest& request) {
    StoredRecord record(request.study);
    StoreState state(request.study.c_str(), "");
    state.diagnostics = nullptr;
    bool exists = record.read();
    if (violates(request.existenceMode, exists)) {
        return complainAboutExistence(request, record);
    }
    reportInvalidLines(record);
    const std::string objection = record.text.objection();
    if (exists && !objection.empty()) {
        return complain(request.study,
                        objection + " storestate convert --damaged keeps a copy of it and writes a new one.",
                        STATUS_FAILED);
    }
    if (request.lockHeld && !findLock(request.study).has_value()) {
        return complain(request.study, "Nobody holds the study's lock: leave out --lock-held.", STATUS_FAILED);
    }
    int status = prepareWriting(record);
    if (status == STATUS_DONE && request.dryRun) {
        return tryModification(request, record, exists);
    }
    if (status == STATUS_DONE && !request.lockHeld) {
        status = takeLock(state, {request.lockSeconds, false});
    }
    if (status != STATUS_DONE) {
        return status;
    }
    exists = access(record.path.c_str(), F_OK) == 0;
    status = modify(request, state, record);
    if (status == STATUS_DONE && !exists && request.existenceMode == RECORD_MAY_EXIST) {
        printf("%s: there was no record; it was created.\n", printable(request.study).c_str());
    }
    return status;
}

} // namespace

std::vector<std::string> modifyOptionNames() {
    std::vector<std::string> names;
    for (const ModifyOption& option : modifyOptions()) {
        names.insert(names.end(), {option.longName, option.shortName});
    }
    return names;
}

int modifyRecord(const ModifyRequest& request) {
    const std::string wrong = mistake(request.options);
    if (!wrong.empty()) {
        return complain(request.study, wrong, STATUS_USAGE);
    }
    pointOutMarkings(request);
    const Interruption interruption;
    return guarded(request.study, [&] { return lookAndModify(request); });
}

} // namespace storestate
