#include "check/CheckReport.h"
#include "check/SystemLog.h"

#include "support/SyslogFacility.h"

#include <cstdlib>

namespace storestate {
namespace {

constexpr char LOG_SOCKET[] = "/dev/log";

void checkFacility(CheckReport& report, const char* variable) {
    const char* value = getenv(variable);
    const std::string name = value != nullptr ? value : "";
    if (value == nullptr) {
        report.good(variable, "not set: local0");
    } else if (syslogFacility(value).has_value()) {
        report.good(variable, name);
    } else {
        report.note(variable, name + " is none of local0 to local7 and counts as local0", "write it as local0");
    }
}

} // namespace

void checkSystemLog(CheckReport& report) {
    checkFacility(report, "LOG_FACILITY");
    checkFacility(report, "LOG_OPER_FACILITY");
    const LogListener listener = logListener(LOG_SOCKET);
    if (listener == LogListener::READS) {
        report.good("system log", LOG_SOCKET);
    } else if (listener == LogListener::STANDS_STILL) {
        report.bad("system log", std::string("nobody reads ") + LOG_SOCKET + ": calls hang there and hold their locks",
                   "restart the system log; the calls then go on");
    } else {
        report.note("system log",
                    std::string("nobody listens at ") + LOG_SOCKET + ": what the plug-in fails at is lost",
                    "start a system log, or pass its socket into the container");
    }
}

} // namespace storestate
