#include "bulk/BulkRun.h"
#include "bulk/StudyList.h"
#include "commands/Commands.h"
#include "commands/Failure.h"
#include "diagnosis/Explanation.h"
#include "locks/LockFiles.h"
#include "record/StoredRecord.h"
#include "record/TemporaryRecords.h"
#include "storestate/RecordFormat.h"
#include "terminal/Terminal.h"

#include <filesystem>
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
    int look(const std::string& study, bool mustExist) {
        StoredRecord record(study);
        Kind kind = UNREADABLE;
        remarks.clear();
        try {
            kind = classify(record);
            lookBeside(record);
        } catch (const QXException& failure) {
            kind = UNREADABLE;
            remarks.push_back(explained(failure, study));
        }
        ++counts[kind];
        print(study);
        if (kind == WITHOUT_RECORD) {
            return mustExist ? complain(study, record.absence(), STATUS_EXISTENCE) : STATUS_DONE;
        }
        return kind == WHOLE || kind == EARLIER || kind == EARLIER_EMPTY ? STATUS_DONE : STATUS_FAILED;
    }

    void printCounts(size_t all) const {
        for (const auto& [kind, count] : counts) {
            printf("%s %zu, ", KINDS[kind], count);
        }
        printf("of %zu; locked %zu, temporary files %zu\n", all, locked, temporaryFiles);
    }

private:
    Kind classify(StoredRecord& record) {
        if (!record.read()) {
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
            for (const std::string& name : record.legacyNames()) {
                record.state.forwardDevices.Insert(name.c_str());
            }
        }
        try {
            requireReadable(record.state, formatRecord(record.state));
            return "";
        } catch (const QXException& failure) {
            return explained(failure, record.state.studyId.c_str());
        }
    }

    void lookBeside(const StoredRecord& record) {
        const std::string study = record.state.studyId.c_str();
        const std::optional<LockFile> lock = findLock(study);
        if (lock.has_value()) {
            ++locked;
            remarks.push_back("locked: " + holderText(*lock));
        }
        for (const std::string& path : temporaryRecords(record.directory)) {
            ++temporaryFiles;
            remarks.push_back("temporary file left: " + path);
        }
        std::error_code none;
        if (record.text.version == 0 && !record.path.empty() && !std::filesystem::exists(record.path, none) &&
            !record.legacyNames().empty()) {
            remarks.push_back("a separate forward list without a record, which no conversion takes in");
        }
    }

    void print(const std::string& study) const {
        const Style style(stdout);
        for (const std::string& remark : remarks) {
            printf("%s: %s\n", style.title(printable(study)).c_str(), printable(remark).c_str());
        }
    }

    std::map<Kind, size_t> counts;
    size_t locked = 0;
    size_t temporaryFiles = 0;
    std::vector<std::string> remarks; ///< on the study in hand
};

int complainAboutDirectories(const StudiesFound& found, const char* command) {
    int status = STATUS_DONE;
    for (const std::string& directory : found.unreadable) {
        status = complain(command, "Reading directory failed: " + directory, STATUS_FAILED);
    }
    return status;
}

} // namespace

int verifyRecords(const Studies& arguments) {
    return guarded("verify", [&] {
        const StudiesFound found = arguments.empty() ? findStudies() : StudiesFound{collectStudies(arguments), {}};
        const int readable = complainAboutDirectories(found, "verify");
        Verification verification;
        const int status =
            workThrough({"verify"}, found.studies, [&](const std::string& study, const Patience& /*unlocked*/) {
                return guarded(study, [&] { return verification.look(study, !arguments.empty()); });
            });
        verification.printCounts(found.studies.size());
        return combined(readable, status);
    });
}

int listStudies() {
    return guarded("studies", [] {
        const StudiesFound found = findStudies();
        for (const std::string& study : found.studies) {
            if (study.find('\n') == std::string::npos) {
                printf("%s\n", (isTerminal(stdout) ? printable(study) : study).c_str());
            }
        }
        return complainAboutDirectories(found, "studies");
    });
}

} // namespace storestate
