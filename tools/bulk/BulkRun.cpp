#include "bulk/BulkRun.h"

#include "commands/Failure.h"
#include "terminal/Interruption.h"
#include "terminal/Progress.h"
#include "terminal/Terminal.h"

#include <algorithm>
#include <chrono>
#include <deque>

namespace storestate {
namespace {

using Clock = std::chrono::steady_clock;

/** The studies still to be done: first those that were not tried yet, then those that were locked. */
class Queue {
public:
    explicit Queue(const std::vector<std::string>& studies)
        : waiting(studies.begin(), studies.end()), untried(studies.size()), alone(studies.size() == 1) {}

    bool empty() const { return waiting.empty(); }
    const std::string& first() const { return waiting.front(); }

    /** The studies that are still locked share the time from the first second try on. */
    Patience patience(int seconds) {
        if (untried > 0 && !alone) {
            return {0, true};
        }
        if (deadline == Clock::time_point()) {
            deadline = Clock::now() + std::chrono::seconds(seconds);
        }
        const auto left = std::chrono::ceil<std::chrono::seconds>(deadline - Clock::now()).count();
        return {static_cast<int>(std::max<decltype(left)>(left, 0)), false};
    }

    void removeFirst() {
        waiting.pop_front();
        untried -= untried > 0 ? 1 : 0;
    }

    void putFirstBack() {
        waiting.push_back(waiting.front());
        removeFirst();
    }

    /** "1.2.3", and the names of those that were put back. */
    std::string whereToGoOn() const {
        std::string text;
        for (size_t i = 0; i < waiting.size(); ++i) {
            if (i == 0 || i >= untried) {
                text += (i == 0         ? "Go on from "
                         : i == untried ? ", and with those that were locked: "
                                        : ", ") +
                        waiting[i];
            }
        }
        return text;
    }

    size_t size() const { return waiting.size(); }

private:
    std::deque<std::string> waiting;
    size_t untried;
    bool alone;
    Clock::time_point deadline;
};

} // namespace

int workThrough(const BulkRun& run, const std::vector<std::string>& studies, const StudyWork& work) {
    Queue queue(studies);
    size_t failed = 0;
    int status = STATUS_DONE;
    {
        Progress progress(run.showsProgress ? studies.size() : 0);
        while (!queue.empty() && Interruption::signal() == 0 && outputFault().empty()) {
            const int result = work(queue.first(), queue.patience(run.lockSeconds));
            if (result == PUT_BACK) {
                queue.putFirstBack();
                continue;
            }
            if (result == Interruption::status()) {
                break; // while it waited for the lock
            }
            queue.removeFirst();
            failed += result != STATUS_DONE ? 1 : 0;
            status = combined(status, result);
            progress.update(studies.size() - queue.size(), failed);
        }
    }
    if (Interruption::signal() != 0 && !queue.empty() && studies.size() > 1) {
        printRemark(run.command, "Interrupted after " + std::to_string(studies.size() - queue.size()) + " of " +
                                     std::to_string(studies.size()) + " studies. " + queue.whereToGoOn() + ".");
    }
    return Interruption::signal() != 0 ? Interruption::status() : status;
}

} // namespace storestate
