#include "bulk/BulkRun.h"
#include "bulk/StudyList.h"
#include "commands/Commands.h"
#include "commands/Failure.h"
#include "commands/StudyWork.h"
#include "diagnosis/Explanation.h"
#include "locks/LockFiles.h"
#include "process/Identity.h"
#include "record/StoredRecord.h"
#include "record/TemporaryRecords.h"
#include "storestate/DeviceSetFiller.h"
#include "storestate/RecordFormat.h"
#include "terminal/Terminal.h"

#include <map>

namespace storestate {
namespace {

/** What a study can be counted as, in the order in which it is printed. */
constexpr const char* KINDS[] = {"whole",
                                 "earlier generation",
                                 "earlier generation with nothing set",
                                 "later version",
                                 "damaged",
                                 "not storable",
                                 "unreadable",
                                 "without a record"};
enum Kind { WHOLE, EARLIER, EARLIER_EMPTY, LATER, DAMAGED, NOT_STORABLE, UNREADABLE, WITHOUT_RECORD };

class Verification {
public:
    /** Prints what is wrong or unusual with the study and counts it. */
    int look(const std::string& study) {
        StoredRecord record(study);
        Kind kind = UNREADABLE;
        remarks.clear();
        try {
            kind = classify(record);
        } catch (const QXException& failure) {
            remarks.push_back(explained(failure, study));
        }
        ++counts[kind];
        const bool lockable = lookForLock(study);
        const bool usable = isWritable(record) && lockable;
        lookForTemporaryFiles(record);
        print(study);
        const bool inOrder = (kind == WHOLE || kind == EARLIER || kind == EARLIER_EMPTY) && usable;
        return inOrder ? STATUS_DONE : kind == WITHOUT_RECORD && usable ? STATUS_EXISTENCE : STATUS_FAILED;
    }

    void printCounts(size_t all) const {
        for (const auto& [kind, count] : counts) {
            printf("%s %zu, ", KINDS[kind], count);
        }
        printf("of %zu; not writable %zu, locked %zu, temporary files %zu\n", all, notWritable, locked, temporaryFiles);
    }

private:
    Kind classify(StoredRecord& record) {
        if (!record.read()) {
            const bool hasList = !record.directory.empty() && !record.legacyNames().empty();
            remarks.push_back(record.absence() +
                              (hasList ? ", but a separate forward list, which no conversion takes in" : ""));
            return WITHOUT_RECORD;
        }
        for (const std::string& line : record.text.invalidLines) {
            remarks.push_back("invalid line: " + line);
        }
        const std::string objection = record.text.objection();
        if (!objection.empty()) {
            remarks.push_back(objection);
            return record.text.isLater && record.text.damage.empty() ? LATER : DAMAGED;
        }
        const std::string refusal = storingFault(record);
        if (!refusal.empty()) {
            remarks.push_back(refusal);
            return NOT_STORABLE;
        }
        return !record.isEarlier() ? WHOLE : record.text.setsNothing ? EARLIER_EMPTY : EARLIER;
    }

    /** Why the record, with the legacy list that it would take in, could not be saved; empty when it could. */
    static std::string storingFault(StoredRecord& record) {
        if (record.isEarlier()) {
            DeviceSetFiller forward(record.state.forwardDevices);
            for (const std::string& name : record.legacyNames()) {
                forward.add(name.c_str());
            }
        }
        try {
            requireReadable(record.state, formatRecord(record.state));
            return "";
        } catch (const QXException& failure) {
            return explained(failure, record.state.studyId.c_str());
        }
    }

    bool isWritable(const StoredRecord& record) {
        const std::string foreign = foreignPart(record.directory);
        const std::string fault = foreign.empty() ? accessFault(writingDirectory(record), TO_SAVE) : foreign;
        if (!fault.empty()) {
            ++notWritable;
            remarks.push_back("cannot be saved: " + fault);
        }
        return fault.empty();
    }

    /** False: nobody could take the study's lock either. */
    bool lookForLock(const std::string& study) {
        try {
            const std::optional<LockFile> lock = findLock(study);
            if (lock.has_value()) {
                ++locked;
                remarks.push_back("locked: " + holderText(*lock));
            }
        } catch (const QXException& failure) {
            remarks.push_back("cannot be locked: " + explained(failure, study));
            return false;
        }
        return true;
    }

    /** What a process that was killed while it saved has left. */
    void lookForTemporaryFiles(const StoredRecord& record) {
        if (record.directory.empty()) {
            return;
        }
        for (const std::string& path : temporaryRecords(record.directory)) {
            ++temporaryFiles;
            remarks.push_back("temporary file left: " + path);
        }
    }

    void print(const std::string& study) const {
        const Style style(stdout);
        for (const std::string& remark : remarks) {
            printf("%s: %s\n", style.title(printable(study)).c_str(), printable(remark).c_str());
        }
    }

    std::map<Kind, size_t> counts;
    size_t notWritable = 0;
    size_t locked = 0;
    size_t temporaryFiles = 0;
    std::vector<std::string> remarks; ///< on the study in hand
};

} // namespace

int verifyRecords(const Studies& arguments) {
    return guarded("verify", [&] {
        const StudiesFound found = arguments.empty() ? findStudies() : StudiesFound{collectStudies(arguments), {}};
        const int readable = complainAboutUnreadable(found, "verify");
        Verification verification;
        const int status =
            workThrough({"verify"}, found.studies, [&](const std::string& study, const Patience& /*unlocked*/) {
                return guarded(study, [&] { return verification.look(study); });
            });
        verification.printCounts(found.studies.size());
        return combined(readable, status);
    });
}

} // namespace storestate
