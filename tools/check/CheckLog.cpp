#include "check/Parts.h"

#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace storestate {
namespace {

constexpr int TIMEOUT = 1000; ///< milliseconds

/** Connects to the log without writing. True: somebody listens; `reads` becomes whether a line would be accepted. */
bool connects(const char* path, int type, bool& reads) {
    struct sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    strncpy(address.sun_path, path, sizeof address.sun_path - 1);
    const int log = socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const bool connected = connect(log, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    const bool isQueueFull = !connected && errno == EAGAIN;
    pollfd writable = {log, POLLOUT, 0};
    reads = connected && poll(&writable, 1, TIMEOUT) == 1;
    close(log);
    return connected || isQueueFull;
}

} // namespace

Finding logFinding(const char* path) {
    bool reads = false;
    if (!connects(path, SOCK_DGRAM, reads) && !connects(path, SOCK_STREAM, reads)) {
        return {Verdict::NOTE, "system log",
                std::string("nobody listens at ") + path + ": the plug-in's failures are not logged",
                "start a system log, or pass its socket into the container"};
    }
    if (!reads) {
        return {Verdict::BAD, "system log", std::string("nobody reads ") + path + ": calls hang there",
                "restart the system log; the calls then continue"};
    }
    return {Verdict::GOOD, "system log", path, ""};
}

void checkSystemLog(const Report& report) {
    report(logFinding("/dev/log"));
}

} // namespace storestate
