#include "check/CheckReport.h"

#include "support/SyslogFacility.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <poll.h>
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
        report.note(variable, name + " is none of local0 to local7 and counts as local0", "write it as local0");
    }
}

enum class Listener { NONE, READS, STANDS_STILL };

Listener listener(int type) {
    const int log = socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    struct sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    strcpy(address.sun_path, LOG_SOCKET);
    Listener found = Listener::NONE;
    if (log >= 0 && connect(log, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
        pollfd writable = {log, POLLOUT, 0};
        found = poll(&writable, 1, 1000) == 1 ? Listener::READS : Listener::STANDS_STILL;
    } else if (log >= 0 && errno == EAGAIN) {
        found = Listener::STANDS_STILL; // too many wait to be let in
    }
    close(log);
    return found;
}

} // namespace

void checkSystemLog(CheckReport& report) {
    checkFacility(report, "LOG_FACILITY");
    checkFacility(report, "LOG_OPER_FACILITY");
    Listener found = listener(SOCK_DGRAM);
    found = found == Listener::NONE ? listener(SOCK_STREAM) : found;
    if (found == Listener::READS) {
        report.good("system log", LOG_SOCKET);
    } else if (found == Listener::STANDS_STILL) {
        report.bad("system log", std::string("nobody reads ") + LOG_SOCKET + ": calls hang there and hold their locks",
                   "restart the system log; the calls then go on");
    } else {
        report.note("system log",
                    std::string("nobody listens at ") + LOG_SOCKET + ": what the plug-in fails at is lost",
                    "start a system log, or pass its socket into the container");
    }
}

} // namespace storestate
