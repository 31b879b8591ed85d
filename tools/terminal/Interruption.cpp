#include "terminal/Interruption.h"

#include <csignal>

namespace storestate {
namespace {

constexpr int SIGNALS[] = {SIGINT, SIGTERM, SIGHUP};

volatile sig_atomic_t noted = 0;

void note(int number) {
    noted = number;
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
