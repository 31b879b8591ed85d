#include "commands/Commands.h"
#include "diagnosis/Explanation.h"
#include "record/RecordView.h"
#include "record/StoredRecord.h"
#include "studies/BulkRun.h"
#include "terminal/Text.h"

#include <nlohmann/json.hpp>

namespace storestate {
namespace {

using Json = nlohmann::ordered_json;

void print(const StoredRecord& record) {
    printf("%s\n%s", printable(record.state.studyId.c_str()).c_str(), propertyLines(record.state).c_str());
    for (const std::string& name : record.isEarlier() ? record.legacyNames() : std::vector<std::string>()) {
        printf("%s", propertyLine("forward list", name).c_str());
    }
    printf("%s\n", propertyLine("file", record.path).c_str());
}

Json toJson(const StoredRecord& record) {
    Json json = {{"study", record.state.studyId.c_str()}, {"file", record.path}, {"record", recordJson(record.state)}};
    if (record.isEarlier()) {
        json["legacyForwardDevices"] = record.legacyNames();
    }
    return json;
}

/** Appends the record to `list`; without a list, prints it. */
int showRecord(const std::string& study, Json* list) {
    StoredRecord record(study);
    record.require();
    record.reportInvalidLines();
    if (list != nullptr) {
        list->push_back(toJson(record));
    } else {
        print(record);
    }
    return record.text.damage.empty() ? static_cast<int>(STATUS_DONE) : complain(study, record.text.damage);
}

} // namespace

int showRecords(const Studies& studies, bool asJson) {
    Json list = Json::array();
    const int status = forEachStudy("show", studies, false, [&](const std::string& study) {
        return guarded(study, [&] { return showRecord(study, asJson ? &list : nullptr); });
    });
    if (asJson) {
        printf("%s", jsonText(list).c_str());
    }
    return status;
}

} // namespace storestate
