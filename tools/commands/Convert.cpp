#include "bulk/BulkRun.h"
#include "bulk/StudyList.h"
#include "commands/Commands.h"
#include "commands/Failure.h"
#include "commands/StudyWork.h"
#include "record/RecordChange.h"
#include "record/StoredRecord.h"
#include "storestate/FileError.h"
#include "storestate/RecordFormat.h"
#include "terminal/Interruption.h"

#include <cerrno>
#include <ctime>
#include <unistd.h>

namespace storestate {
namespace {

/** What has become of the studies. */
struct Counts {
    size_t converted = 0;
    size_t withNothingSet = 0; ///< of those converted
    size_t unchanged = 0;
    size_t failed = 0;
};

/** Keeps a damaged record under a second name, which tells the time; returns that. */
std::string keepOriginal(const std::string& path) {
    char date[32];
    const time_t now = time(nullptr);
    struct tm utc = {};
    strftime(date, sizeof date, "%Y%m%dT%H%M%SZ", gmtime_r(&now, &utc));
    std::string copy = path + ".damaged." + date;
    errno = 0;
    if (link(path.c_str(), copy.c_str()) != 0) {
        throwFileError("Keeping the original failed: ", copy.c_str());
    }
    return copy;
}

/** One study of the run. */
class Conversion {
public:
    Conversion(const ConvertRequest& conversionRequest, const std::string& studyId, Counts& runCounts)
        : request(conversionRequest), study(studyId), counts(runCounts), record(studyId) {}

    int run(const Patience& patience) {
        StoreState state(study.c_str(), "");
        state.diagnostics = nullptr;
        if (!record.read()) {
            return complain(study, record.absence(), STATUS_EXISTENCE);
        }
        int status = prepareWriting(record);
        if (status == STATUS_DONE && !request.dryRun) {
            status = takeLock(state, patience);
        }
        return status == STATUS_DONE ? convert(state) : status;
    }

private:
    int convert(StoreState& state) {
        StoredRecord current(study); // as it is under the lock
        if (!current.read()) {
            return complain(study, current.absence(), STATUS_EXISTENCE);
        }
        reportInvalidLines(current);
        const std::string objection = current.text.objection();
        if (!objection.empty() && !request.damaged) {
            return complain(study, objection + " --damaged converts it and keeps the original.", STATUS_FAILED);
        }
        state.useLock = false; // it is taken already, or not needed
        state.load();
        const std::string before = formatRecord(current.state);
        const std::string after = formatRecord(state);
        const bool changes = before != after || !objection.empty();
        if (changes && request.dryRun) {
            requireReadable(state, after);
            printChange(study, before, after);
        } else if (changes) {
            replace(state, current);
        }
        if (!objection.empty()) {
            printRemark(study, objection + (current.text.isLegible ? " Look whether what was left of it is right."
                                                                   : " Nothing of it was legible: it begins anew."));
        }
        ++(changes ? counts.converted : counts.unchanged);
        counts.withNothingSet += changes && current.text.setsNothing ? 1 : 0;
        return STATUS_DONE;
    }

    void replace(StoreState& state, const StoredRecord& current) const {
        if (!current.text.objection().empty()) {
            printRemark(study, "The original is kept as " + keepOriginal(current.path));
        }
        state.useLock = true; // to be given back
        saveOrThrow(state, current);
    }

    const ConvertRequest& request;
    std::string study;
    Counts& counts;
    StoredRecord record;
};

} // namespace

int convertRecords(const ConvertRequest& request) {
    return guarded("convert", [&]() -> int {
        const Studies studies = collectStudies(request.studies);
        const Interruption interruption;
        Counts counts;
        const BulkRun run = {"convert", request.lockSeconds, !request.dryRun};
        const int status = workThrough(run, studies, [&](const std::string& study, const Patience& patience) {
            const int result = guarded(study, [&] { return Conversion(request, study, counts).run(patience); });
            counts.failed += result != STATUS_DONE && result != PUT_BACK && result != Interruption::status() ? 1 : 0;
            return result;
        });
        printf("%s %zu, unchanged %zu, failed %zu, of %zu\n", request.dryRun ? "would be converted" : "converted",
               counts.converted, counts.unchanged, counts.failed, studies.size());
        if (counts.withNothingSet > 0) {
            printf("with nothing set before: %zu\n", counts.withNothingSet);
        }
        return status;
    });
}

} // namespace storestate
