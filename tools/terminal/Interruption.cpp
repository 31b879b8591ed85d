#include "terminal/Interruption.h"

#include <cerrno>
#include <csignal>
#include <unistd.h>

namespace storestate {
namespace {

constexpr int SIGNALS[] = {SIGINT, SIGTERM, SIGHUP};

volatile sig_atomic_t noted = 0;

/** What hangs is not waited for in silence. */
void note(int number) {
    constexpr char TEXT[] =
        "storestate: interrupted: the study in hand is finished first; a second signal ends at once, "
        "and may leave its lock.\n";
    const int error = errno;
    noted = number;
    static_cast<void>(!write(STDERR_FILENO, TEXT, sizeof TEXT - 1));
    errno = error;
}

} // namespace

Interruption::Interruption() {
    noted = 0;
    struct sigaction action = {};
    action.sa_handler = note;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
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
