#include "bulk/BulkRun.h"
#include "commands/Commands.h"
#include "commands/Failure.h"
#include "commands/StudyWork.h"
#include "diagnosis/Explanation.h"
#include "record/RecordChange.h"
#include "record/RecordView.h"
#include "record/StoredRecord.h"
#include "storestate/RecordFormat.h"
#include "storestate/StudyPaths.h"

#include <ctime>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

namespace storestate {
namespace {

using Json = nlohmann::ordered_json;

/** "2026-03-01 14:05:09"; empty when the file is gone. */
std::string modificationTime(const std::string& path) {
    struct stat status;
    char text[64] = "";
    if (stat(path.c_str(), &status) == 0) {
        struct tm local = {};
        strftime(text, sizeof text, "%F %T", localtime_r(&status.st_mtime, &local));
    }
    return text;
}

/** What becomes of a record of the earlier generation, and the list that it takes in. */
void printConversion(const StoredRecord& record, const Style& style) {
    const std::vector<std::string> names = record.legacyNames();
    std::string list;
    for (const std::string& name : names) {
        list += " " + printable(name);
    }
    const std::string path = legacyListPath(record.directory.c_str()).c_str();
    if (!names.empty()) {
        printf("  %s%s\n", style.faint("Separate forward list").c_str(), list.c_str());
        printf("  %s\n", style.faint(printable(path)).c_str());
    }
    const std::string study = record.state.studyId.c_str();
    printf("\n  A conversion, with the devices in the database, would make of it:\n");
    fflush(stdout); // the database may let us wait
    try {
        printf("%s\n", changeText(formatRecord(record.state), convertedText(study), style).c_str());
    } catch (const QXException& failure) {
        printf("  nothing, since it would fail: %s\n\n", printable(explained(failure, study)).c_str());
    }
}

void print(const StoredRecord& record) {
    const Style style(stdout);
    printf("%s  %s\n", style.title(printable(record.state.studyId.c_str())).c_str(),
           style.faint(printable(record.path) + "  " + modificationTime(record.path)).c_str());
    printf("%s\n", recordPicture(record.state, style).c_str());
    if (record.isEarlier() && record.text.damage.empty()) {
        printConversion(record, style);
    }
}

Json toJson(const StoredRecord& record) {
    Json json = {{"study", record.state.studyId.c_str()}, {"file", record.path}, {"record", recordJson(record.state)}};
    if (record.isEarlier()) {
        json["legacyForwardDevices"] = record.legacyNames();
    }
    return json;
}

int showRecord(const std::string& study, Json* list) {
    return guarded(study, [&]() -> int {
        StoredRecord record(study);
        if (!record.read()) {
            return complain(study, record.absence(), STATUS_EXISTENCE);
        }
        reportInvalidLines(record);
        if (list != nullptr) {
            list->push_back(toJson(record));
        } else {
            print(record);
        }
        const std::string wrong = record.text.objection();
        return wrong.empty() ? STATUS_DONE : complain(study, wrong, STATUS_FAILED);
    });
}

} // namespace

int showRecords(const Studies& studies, bool asJson) {
    Json list = Json::array();
    const int status = workThrough({"show"}, studies, [&](const std::string& study, const Patience& /*unlocked*/) {
        return showRecord(study, asJson ? &list : nullptr);
    });
    if (asJson) {
        printf("%s", jsonText(list).c_str());
    }
    return status;
}

} // namespace storestate
