#include "check/Parts.h"
#include "diagnosis/DatabaseDiagnosis.h"
#include "diagnosis/Explanation.h"
#include "storestate/AutoForward.h"
#include "storestate/Environment.h"
#include "storestate/StoreState.h"

namespace storestate {
namespace {

using Device = StoreState::StoreDevice;

/** The rule that the device breaks in one of its roles; empty: a record can store it. */
std::string brokenRule(const OFString& id) {
    StoreState probe("-", ".");
    probe.ownerDevice = id;
    probe.forwardDevices.Insert(id);
    return valueRule(probe);
}

void checkDevices(const Report& report, const OFList<Device*>& devices) {
    std::string list;
    for (const Device* device : devices) {
        if (device->id.empty()) {
            continue; // the library ignores it
        }
        list += std::string(list.empty() ? "" : " ") + device->id.c_str() + " (" + device->type.c_str() + ")";
        const std::string rule = brokenRule(device->id);
        if (!rule.empty()) {
            report({Verdict::BAD, "auto-forward device",
                    std::string("no record can carry \"") + device->id.c_str() + "\": no new record can be saved",
                    "rename it: " + rule});
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
