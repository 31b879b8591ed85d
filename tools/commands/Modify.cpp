#include "commands/Commands.h"
#include "diagnosis/Explanation.h"
#include "files/Files.h"
#include "locks/StudyLocks.h"
#include "record/RecordView.h"
#include "record/StoredRecord.h"
#include "storestate/RecordFormat.h"
#include "terminal/Interruption.h"

namespace storestate {
namespace {

/** Warns of values such as "YES", which clear a flag that the caller probably wants to set. */
void warnOfClearedFlags(const ModifyRequest& request) {
    for (const OptionPair& pair : request.options) {
        if (findModifyOption(pair.name)->isFlag && pair.value != "yes" && pair.value != "no") {
            remark(request.study, std::string(pair.name.c_str()) + R"( ")" + pair.value.c_str() +
                                      R"(" clears the flag: only "yes" sets it.)");
        }
    }
}

/** Reads the record. Failure: it exists although it must not, or is missing although it must exist, or is damaged. */
void readUndamaged(const ModifyRequest& request, StoredRecord& record) {
    const bool exists = record.read();
    if (exists == request.isNew) {
        throw Failure(exists ? "The record exists already." : record.absence(), STATUS_EXISTENCE);
    }
    if (!record.text.damage.empty()) {
        throw Failure(record.text.damage);
    }
}

int32_t existenceMode(const ModifyRequest& request) {
    return request.isNew ? RECORD_MUST_NOT_EXIST : RECORD_MUST_EXIST;
}

/** Reports what would make the call fail although the new record is valid. */
int reportObstacles(const ModifyRequest& request, const StoredRecord& record) {
    int status = STATUS_DONE;
    const auto report = [&](const std::string& fault) {
        if (!fault.empty()) {
            status = combined(status, complain(request.study, "Writing would fail: " + fault));
        }
    };
    report(accessFault(record.writingDirectory(), TO_SAVE));
    report(spaceFault(record.writingDirectory()));
    report(accessFault(record.state.semaphore.lockDir, TO_LOCK));
    if (findLock(request.study).has_value()) {
        const std::string text = "The study is locked: " + obstacleText(request.study);
        status = combined(status, complain(request.study, text, STATUS_TIMEOUT));
    }
    return status;
}

void require(ModifyResult result, const StoredRecord& record) {
    if (result == ModifyResult::NO_TEMPORARY_FILE) {
        record.throwNotCreated();
    }
    if (result != ModifyResult::DONE) {
        throw Failure("The record was created or removed just now.", STATUS_EXISTENCE);
    }
}

int previewModification(const ModifyRequest& request, StoreState& state, const StoredRecord& before) {
    state.useLock = false;
    const std::string after = withValueRule(state, [&] {
        require(applyModification(state, existenceMode(request), pairsOf(request.options)), before);
        return state.textToSave();
    });
    printChange(request.study, request.isNew ? "" : formatRecord(before.state), after);
    return reportObstacles(request, before);
}

int modify(const ModifyRequest& request) {
    StoredRecord before(request.study);
    readUndamaged(request, before);
    before.reportInvalidLines();
    StoreState state(request.study.c_str(), "");
    state.diagnostics = nullptr;
    if (request.dryRun) {
        return previewModification(request, state, before);
    }
    deferSignals();
    takeLock(state, request.lockSeconds);
    StoredRecord current(request.study); // as it is under the lock
    readUndamaged(request, current);
    withValueRule(state,
                  [&] { require(modifyRecord(state, existenceMode(request), pairsOf(request.options)), current); });
    return STATUS_DONE;
}

} // namespace

int changeRecord(const ModifyRequest& request) {
    warnOfClearedFlags(request);
    return guarded(request.study, [&] { return modify(request); });
}

} // namespace storestate
