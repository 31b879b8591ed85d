#include "locks/LockWait.h"

#include "terminal/Interruption.h"

#include <chrono>
#include <cstdlib>
#include <ctime>

namespace storestate {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds QUIET(1);  ///< most locks are given back by then
constexpr long SHORTEST_PAUSE = 50000000; ///< nanoseconds
constexpr long SPREAD = 100000000;

/** A signal ends it early. */
void pause() {
    const timespec time = {0, SHORTEST_PAUSE + rand() % SPREAD};
    nanosleep(&time, nullptr);
}

} // namespace

LockWait waitForLock(QXSemaphore& semaphore, int seconds, const std::function<void()>& waiting) {
    const Clock::time_point start = Clock::now();
    bool told = false;
    while (Interruption::signal() == 0) {
        if (semaphore.lockResource()) {
            return LockWait::TAKEN;
        }
        const Clock::duration passed = Clock::now() - start;
        if (passed >= std::chrono::seconds(seconds)) {
            return LockWait::TIMED_OUT;
        }
        if (!told && passed >= QUIET) {
            waiting();
            told = true;
        }
        pause();
    }
    return LockWait::INTERRUPTED;
}

} // namespace storestate
