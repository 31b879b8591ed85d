#include "check/CheckReport.h"
#include "commands/Commands.h"
#include "support/SyslogFacility.h"

#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

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
        report.note(variable, name + " is none of local0 to local7 and counts as local0");
    }
}

bool answers(int type) {
    const int log = socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
    struct sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    strcpy(address.sun_path, LOG_SOCKET);
    const bool connected = log >= 0 && connect(log, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    close(log);
    return connected;
}

void checkSystemLog(CheckReport& report) {
    if (answers(SOCK_DGRAM) || answers(SOCK_STREAM)) {
        report.good("system log", LOG_SOCKET);
    } else {
        report.note("system log", std::string("nobody listens at ") + LOG_SOCKET +
                                      ": what the plug-in fails at is lost; start a system log or pass it in");
    }
}

} // namespace

int checkEnvironment() {
    CheckReport report;
    checkDirectories(report);
    checkPlugin(report);
    checkDatabase(report);
    checkFacility(report, "LOG_FACILITY");
    checkFacility(report, "LOG_OPER_FACILITY");
    checkSystemLog(report);
    return report.allGood() ? STATUS_DONE : STATUS_FAILED;
}

} // namespace storestate
