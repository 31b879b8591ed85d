#include "terminal/Interruption.h"

#include <cerrno>
#include <csignal>
#include <unistd.h>

namespace storestate {
namespace {

constexpr int SIGNALS[] = {SIGINT, SIGTERM, SIGHUP};

volatile sig_atomic_t noted = 0;

/** What hangs is not waited for in silence, nor beyond a second signal. */
void note(int number) {
    constexpr char TEXT[] = "storestate: interrupted; a second signal ends at once, and may leave a lock.\n";
    const int error = errno;
    if (noted != 0) {
        ::signal(number, SIG_DFL);
        raise(number);
        return;
    }
    noted = number;
    static_cast<void>(!write(STDERR_FILENO, TEXT, sizeof TEXT - 1));
    errno = error;
}

} // namespace

Interruption::Interruption() {
    noted = 0;
    struct sigaction action = {};
    action.sa_handler = note;
    action.sa_flags = SA_RESTART;
    for (const int number : SIGNALS) {
        struct sigaction before = {};
        sigaction(number, &action, &before);
        if (number == SIGHUP && before.sa_handler == SIG_IGN) {
            sigaction(number, &before, nullptr); // nohup
        }
    }
}

Interruption::~Interruption() {
    for (const int number : SIGNALS) {
        ::signal(number, SIG_DFL);
    }
}

int Interruption::signal() {
    return noted;
}

} // namespace storestate
