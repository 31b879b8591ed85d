#include "check/SystemLog.h"

#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace storestate {
namespace {

constexpr int PATIENCE = 1000; ///< milliseconds

LogListener ask(const char* path, int type) {
    const int log = socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    struct sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    strncpy(address.sun_path, path, sizeof address.sun_path - 1);
    LogListener found = LogListener::NONE;
    if (log >= 0 && connect(log, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) {
        pollfd writable = {log, POLLOUT, 0};
        found = poll(&writable, 1, PATIENCE) == 1 ? LogListener::READS : LogListener::STANDS_STILL;
    } else if (log >= 0 && errno == EAGAIN) {
        found = LogListener::STANDS_STILL; // too many wait to be let in
    }
    close(log);
    return found;
}

} // namespace

LogListener logListener(const char* path) {
    const LogListener found = ask(path, SOCK_DGRAM);
    return found == LogListener::NONE ? ask(path, SOCK_STREAM) : found;
}

} // namespace storestate
