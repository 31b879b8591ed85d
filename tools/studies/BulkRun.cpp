#include "studies/BulkRun.h"

#include "terminal/Interruption.h"
#include "terminal/Status.h"

#include <chrono>

namespace storestate {
namespace {

using Clock = std::chrono::steady_clock;

/** Prints the counts on standard error, in place of the earlier ones. */
void showProgress(size_t done, size_t total, size_t failed) {
    static Clock::time_point last;
    if (Clock::now() - last > std::chrono::milliseconds(50)) {
        last = Clock::now();
        fprintf(stderr, "%s%zu/%zu, %zu failed", CLEAR_LINE, done, total, failed);
    }
}

} // namespace

int forEachStudy(const std::string& command, const std::vector<std::string>& studies, bool showsProgress,
                 const std::function<int(const std::string& study)>& work) {
    size_t done = 0;
    size_t failed = 0;
    int status = STATUS_DONE;
    const bool visible = showsProgress && studies.size() > 1 && isTerminal(stderr);
    while (done < studies.size() && notedSignal() == 0 && outputFault().empty()) {
        const int result = work(studies[done]);
        if (notedSignal() != 0 && result == signalStatus()) {
            break; // the signal ended the wait for the lock, and nothing was done
        }
        ++done;
        failed += result != STATUS_DONE ? 1 : 0;
        status = combined(status, result);
        if (visible) {
            showProgress(done, studies.size(), failed);
        }
    }
    fputs(visible ? CLEAR_LINE : "", stderr);
    if (done == studies.size()) {
        return status;
    }
    if (studies.size() > 1) {
        remark(command, "Interrupted after " + std::to_string(done) + " of " + std::to_string(studies.size()) +
                            " studies. Continue from " + studies[done] + ".");
    }
    return notedSignal() != 0 ? signalStatus() : STATUS_FAILED;
}

} // namespace storestate
