#include "check/CheckApart.h"

#include "check/CheckOutput.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace storestate {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/** Sends each finding as a line of JSON, at once; never returns. */
[[noreturn]] void runPart(int output, const char* subject, void (*part)(CheckReport&)) {
    CheckReport report([output](const Finding& finding) {
        const std::string line =
            findingAsJson(finding).dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
        static_cast<void>(!write(output, line.data(), line.size()));
    });
    try {
        part(report);
    } catch (const std::exception& failure) {
        report.unknown(subject, failure.what(), "try again");
    }
    _exit(0);
}

/** What comes until the other end is closed; false when that has not happened in time. */
bool receive(int input, Clock::time_point deadline, std::string& text) {
    for (;;) {
        const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now()).count();
        pollfd ready = {input, POLLIN, 0};
        if (left <= 0 || (poll(&ready, 1, static_cast<int>(left)) < 0 && errno != EINTR)) {
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

} // namespace

void checkApart(CheckReport& report, const char* subject, const char* remedy, void (*part)(CheckReport&)) {
    int ends[2];
    errno = 0;
    if (pipe2(ends, O_CLOEXEC) != 0) {
        report.unknown(subject, std::string("cannot be looked at: ") + strerror(errno), "try again");
        return;
    }
    fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        runPart(ends[1], subject, part);
    }
    const int error = errno;
    close(ends[1]);
    if (child < 0) {
        close(ends[0]);
        report.unknown(subject, std::string("cannot be looked at: ") + strerror(error), "try again");
        return;
    }
    std::string lines;
    const bool inTime = receive(ends[0], Clock::now() + std::chrono::seconds(CHECK_SECONDS), lines);
    close(ends[0]);
    if (!inTime) {
        kill(child, SIGKILL);
    }
    const int status = reap(child);
    take(report, lines);
    if (!inTime) {
        report.bad(subject, "no answer within " + std::to_string(CHECK_SECONDS) + " seconds", remedy);
    } else if (WIFSIGNALED(status)) {
        report.bad(subject, std::string("ended this look by a signal: ") + strsignal(WTERMSIG(status)), remedy);
    }
}

} // namespace storestate
