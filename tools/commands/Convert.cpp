#include "commands/Commands.h"
#include "diagnosis/Explanation.h"
#include "locks/StudyLocks.h"
#include "record/RecordView.h"
#include "record/StoredRecord.h"
#include "storestate/RecordFormat.h"
#include "studies/BulkRun.h"
#include "studies/StudyList.h"
#include "terminal/Interruption.h"

namespace storestate {
namespace {

/** How many studies had which result. */
struct Counts {
    size_t converted = 0;
    size_t unchanged = 0;
    size_t locked = 0;
    size_t failed = 0;
};

/** Loads the record, which converts it, and saves it if that changed it. */
int convertLoaded(const ConvertRequest& request, StoreState& state, Counts& counts) {
    const std::string study = state.studyId.c_str();
    StoredRecord current(study); // as it is under the lock
    current.require();
    current.reportInvalidLines();
    if (!current.text.damage.empty()) {
        throw Failure(current.text.damage);
    }
    if (!state.load()) {
        throw Failure("The record was removed just now.", STATUS_EXISTENCE);
    }
    const std::string before = formatRecord(current.state);
    const std::string after = withValueRule(state, [&] { return state.textToSave(); });
    if (before == after) {
        ++counts.unchanged;
        return STATUS_DONE;
    }
    if (request.dryRun) {
        printChange(study, before, after);
    } else if (!state.save()) {
        current.throwNotCreated();
    }
    ++counts.converted;
    return STATUS_DONE;
}

int convert(const ConvertRequest& request, const std::string& study, int lockSeconds, Counts& counts) {
    StoredRecord(study).require(); // before a lock is taken
    StoreState state(study.c_str(), "");
    state.diagnostics = nullptr;
    state.useLock = !request.dryRun;
    if (!request.dryRun) {
        takeLock(state, lockSeconds);
    }
    return convertLoaded(request, state, counts);
}

void print(const Counts& counts, const ConvertRequest& request, size_t all) {
    printf("%s %zu, unchanged %zu, locked %zu, failed %zu, of %zu\n",
           request.dryRun ? "would be converted" : "converted", counts.converted, counts.unchanged, counts.locked,
           counts.failed, all);
}

} // namespace

int convertRecords(const ConvertRequest& request) {
    const Studies studies = collectStudies(request.studies);
    // Do not wait for each of many locked studies: the run can be repeated.
    const int lockSeconds = request.lockSeconds.value_or(studies.size() > 1 ? 0 : StoreState::LOCK_SECONDS);
    Counts counts;
    deferSignals();
    const int status = forEachStudy("convert", studies, !request.dryRun, [&](const std::string& study) {
        const int result = guarded(study, [&] { return convert(request, study, lockSeconds, counts); });
        counts.locked += result == STATUS_TIMEOUT ? 1 : 0;
        const bool interrupted = notedSignal() != 0 && result == signalStatus();
        counts.failed += result != STATUS_DONE && result != STATUS_TIMEOUT && !interrupted ? 1 : 0;
        return result;
    });
    print(counts, request, studies.size());
    return status;
}

} // namespace storestate
