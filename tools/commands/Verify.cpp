#include "commands/Commands.h"
#include "diagnosis/Explanation.h"
#include "files/Files.h"
#include "record/StoredRecord.h"
#include "storestate/DeviceSetFiller.h"
#include "storestate/RecordFormat.h"
#include "studies/BulkRun.h"
#include "studies/StudyList.h"
#include "terminal/Text.h"

#include <map>

namespace storestate {
namespace {

constexpr char WHOLE[] = "whole";
constexpr char EARLIER[] = "earlier generation";
constexpr char WITHOUT_RECORD[] = "without a record";

/** Checks one study and prints what is wrong with it. */
class Verification {
public:
    explicit Verification(const std::string& studyId) : study(studyId), record(studyId) {}

    /** Returns the name under which the study is counted. */
    std::string run() {
        std::string kind = "unreadable";
        try {
            kind = classify();
        } catch (const QXException& failure) {
            say(explained(failure));
        }
        const std::string fault = accessFault(record.writingDirectory(), TO_SAVE);
        if (!fault.empty()) {
            say("cannot be saved: " + fault);
            kind = kind == WHOLE || kind == EARLIER || kind == WITHOUT_RECORD ? "not writable" : kind;
        }
        return kind;
    }

private:
    void say(const std::string& text) const { printf("%s: %s\n", printable(study).c_str(), printable(text).c_str()); }

    std::string classify() {
        if (!record.read()) {
            const bool hasList = !record.directory.empty() && !record.legacyNames().empty();
            say(record.absence() + (hasList ? ", but a separate forward list, which no conversion takes in" : ""));
            return WITHOUT_RECORD;
        }
        for (const std::string& line : record.text.invalidLines) {
            say("invalid line: " + line);
        }
        if (!record.text.damage.empty()) {
            say(record.text.damage);
            return "damaged";
        }
        if (!isStorable()) {
            return "not storable";
        }
        return record.isEarlier() ? EARLIER : WHOLE;
    }

    /** Whether the record, with the names of its legacy list, could be saved. */
    bool isStorable() {
        if (record.isEarlier()) {
            DeviceSetFiller forward(record.state.forwardDevices);
            for (const std::string& name : record.legacyNames()) {
                forward.add(name.c_str());
            }
        }
        try {
            withValueRule(record.state, [&] { requireReadable(record.state, formatRecord(record.state)); });
            return true;
        } catch (const Failure& failure) {
            say(failure.what());
            return false;
        }
    }

    const std::string study;
    StoredRecord record;
};

int statusOf(const std::string& kind) {
    if (kind == WITHOUT_RECORD) {
        return STATUS_EXISTENCE;
    }
    return kind == WHOLE || kind == EARLIER ? STATUS_DONE : STATUS_FAILED;
}

} // namespace

int verifyRecords(const Studies& arguments) {
    StudyWalk walk = arguments.empty() ? walkStudies() : StudyWalk();
    if (!arguments.empty()) {
        walk.studies = collectStudies(arguments);
    }
    int readable = STATUS_DONE;
    if (walk.studies.empty()) {
        readable = complain("verify", "There is no study: the archive may not be mounted.");
    }
    for (const std::string& fault : walk.unreadable) {
        readable = complain("verify", fault);
    }
    std::map<std::string, size_t> counts;
    const int status = forEachStudy("verify", walk.studies, false, [&](const std::string& study) {
        return guarded(study, [&] {
            const std::string kind = Verification(study).run();
            ++counts[kind];
            return statusOf(kind);
        });
    });
    for (const auto& [kind, count] : counts) {
        printf("%s %zu, ", kind.c_str(), count);
    }
    printf("of %zu\n", walk.studies.size());
    return combined(readable, status);
}

} // namespace storestate
