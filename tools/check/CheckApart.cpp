#include "check/CheckApart.h"

#include "check/CheckOutput.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace storestate {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/** A part at work. */
struct Look {
    const CheckPart* part;
    pid_t child = -1;
    int findings = -1; ///< from where they are read
};

/** Sends each finding as a line of JSON, at once; never returns. */
[[noreturn]] void run(const CheckPart& part, int output) {
    CheckReport report([output](const Finding& finding) {
        const std::string line =
            findingAsJson(finding).dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
        static_cast<void>(!write(output, line.data(), line.size()));
    });
    try {
        part.look(report);
    } catch (const std::exception& failure) {
        report.unknown(part.subject, failure.what(), "try again");
    }
    _exit(0);
}

/** Nothing but an explanation when the system has no process or descriptor left. */
Look begin(CheckReport& report, const CheckPart& part) {
    Look look{&part};
    int ends[2] = {-1, -1};
    errno = 0;
    if (pipe2(ends, O_CLOEXEC) == 0) {
        look.child = fork();
        if (look.child == 0) {
            run(part, ends[1]);
        }
        look.findings = ends[0];
    }
    if (look.child < 0) {
        report.unknown(part.subject, std::string("cannot be looked at: ") + strerror(errno), "try again");
    }
    close(ends[1]);
    return look;
}

/** What comes until the other end is closed; false when that has not happened in time. */
bool receive(int input, Clock::time_point deadline, std::string& text) {
    for (;;) {
        const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now()).count();
        pollfd ready = {input, POLLIN, 0};
        const int answer = poll(&ready, 1, std::max(0, static_cast<int>(left))); // what is there already, in any case
        if (answer == 0 || (answer < 0 && errno != EINTR)) {
            return false;
        }
        char part[4096];
        const ssize_t size = ready.revents != 0 ? read(input, part, sizeof part) : -1;
        if (size == 0) {
            return true;
        }
        text.append(part, size > 0 ? static_cast<size_t>(size) : 0);
    }
}

/** How the process has ended; it is not waited for when it hangs in a call that nothing interrupts. */
int reap(pid_t child) {
    int status = 0;
    for (const auto deadline = Clock::now() + milliseconds(500); Clock::now() < deadline;) {
        if (waitpid(child, &status, WNOHANG) != 0) {
            break;
        }
        std::this_thread::sleep_for(milliseconds(1));
    }
    return status;
}

void take(CheckReport& report, const std::string& lines) {
    for (size_t start = 0, end = 0; (end = lines.find('\n', start)) != std::string::npos; start = end + 1) {
        report.add(findingFromJson(nlohmann::ordered_json::parse(lines.substr(start, end - start))));
    }
}

void finish(CheckReport& report, const Look& look, Clock::time_point deadline) {
    std::string lines;
    const bool inTime = receive(look.findings, deadline, lines);
    if (!inTime) {
        kill(look.child, SIGKILL);
    }
    const int status = reap(look.child);
    take(report, lines);
    if (!inTime) {
        report.bad(look.part->subject, "no answer within " + std::to_string(CHECK_SECONDS) + " seconds",
                   look.part->remedy);
    } else if (WIFSIGNALED(status)) {
        report.bad(look.part->subject, std::string("ended this look by a signal: ") + strsignal(WTERMSIG(status)),
                   look.part->remedy);
    }
}

} // namespace

void checkApart(CheckReport& report, const std::vector<CheckPart>& parts) {
    const auto deadline = Clock::now() + std::chrono::seconds(CHECK_SECONDS);
    fflush(stdout);
    std::vector<Look> looks;
    looks.reserve(parts.size());
    for (const CheckPart& part : parts) {
        looks.push_back(begin(report, part));
    }
    for (const Look& look : looks) {
        if (look.child >= 0) {
            finish(report, look, deadline);
        }
        close(look.findings);
    }
}

} // namespace storestate
