#include "terminal/Interruption.h"

#include <cerrno>
#include <csignal>
#include <initializer_list>
#include <unistd.h>

namespace storestate {
namespace {

volatile sig_atomic_t noted = 0;

void note(int number) {
    constexpr char TEXT[] = "storestate: interrupted; a second signal ends at once, and may leave a lock.\n";
    const int error = errno;
    if (noted != 0) {
        signal(number, SIG_DFL);
        raise(number);
        return;
    }
    noted = number;
    static_cast<void>(!write(STDERR_FILENO, TEXT, sizeof TEXT - 1));
    errno = error;
}

} // namespace

void deferSignals() {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action = {};
        sigaction(number, nullptr, &action);
        if (action.sa_handler != SIG_IGN) {
            action.sa_handler = note;
            action.sa_flags = SA_RESTART;
            sigaction(number, &action, nullptr);
        }
    }
}

int notedSignal() {
    return noted;
}

} // namespace storestate
