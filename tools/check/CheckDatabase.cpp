#include "check/Parts.h"
#include "diagnosis/DatabaseDiagnosis.h"
#include "storestate/AutoForward.h"
#include "storestate/Environment.h"
#include "storestate/RecordFormat.h"
#include "storestate/StoreState.h"

namespace storestate {
namespace {

using Device = StoreState::StoreDevice;

/** Whether a record can store the device in every role. */
bool isStorable(const OFString& id) {
    StoreState probe("-", ".");
    probe.ownerDevice = id;
    probe.forwardDevices.Insert(id);
    return !findUnstorable(probe, formatRecord(probe)).has_value();
}

void checkDevices(const Report& report, const OFList<Device*>& devices) {
    std::string list;
    for (const Device* device : devices) {
        if (device->id.empty()) {
            continue; // the library ignores it
        }
        list += std::string(list.empty() ? "" : " ") + device->id.c_str() + " (" + device->type.c_str() + ")";
        if (!isStorable(device->id)) {
            report({Verdict::BAD, "auto-forward device",
                    std::string("no record can carry \"") + device->id.c_str() + "\": no new record can be saved",
                    "rename it: no blanks, no quotes, 1 to 255 characters"});
        }
    }
    if (!list.empty()) {
        report({Verdict::GOOD, "auto-forward devices", list, ""});
        return;
    }
    const std::string query = autoForwardQuery(environmentValue("TARGETTBL"), environmentValue("DEVSERVTBL"));
    report(
        {Verdict::NOTE, "auto-forward devices", "none: no row answers " + query,
         "fine if nothing is to be forwarded; otherwise give each device a row in both tables, in that of DEVSERVTBL "
         "with SERVICE exactly 'AFwd'"});
}

} // namespace

void checkDatabase(const Report& report) {
    StoreState record("-", ".");
    const std::optional<DatabaseFault> fault = askForDevices(record);
    if (fault.has_value()) {
        report({Verdict::BAD, "database", fault->text, fault->remedy});
        return;
    }
    report({Verdict::GOOD, "database", "answers, both tables are there", ""});
    checkDevices(report, record.autoForwardDevices);
}

} // namespace storestate
