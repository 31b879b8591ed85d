#include "check/Parts.h"

#include "terminal/Status.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <optional>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace storestate {
namespace {

using Clock = std::chrono::steady_clock;
using Json = nlohmann::ordered_json;
using std::chrono::milliseconds;

/** A part and the process that runs it. */
struct Child {
    const CheckPart* part;
    pid_t process;
    int output; ///< the end of a pipe from which its findings can be read
};

constexpr int PART_COMPLETE = 42; ///< exit status; a plug-in may end the process with any other

/** Sends each finding as a line of JSON, at once; never returns. */
[[noreturn]] void run(const CheckPart& part, int output) {
    const Report report = [output](const Finding& finding) {
        const std::string line = Json(finding).dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
        static_cast<void>(!write(output, line.data(), line.size()));
    };
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    dup2(STDERR_FILENO, STDOUT_FILENO); // where a plug-in may print
    try {
        part.run(report);
        _exit(PART_COMPLETE);
    } catch (...) {
        _exit(EXIT_FAILURE);
    }
}

Child begin(const CheckPart& part) {
    int ends[2];
    const pid_t process = pipe2(ends, O_CLOEXEC) == 0 ? fork() : -1;
    if (process < 0) {
        throw Failure(std::string("Starting a process failed: ") + strerror(errno));
    }
    if (process == 0) {
        run(part, ends[1]);
    }
    close(ends[1]);
    return {&part, process, ends[0]};
}

/** Reads until the other end is closed or the deadline has passed. */
std::string receive(int input, Clock::time_point deadline) {
    std::string text;
    for (;;) {
        const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now()).count();
        pollfd ready = {input, POLLIN, 0};
        const int answer = poll(&ready, 1, std::max(0, static_cast<int>(left))); // also takes what has come already
        char part[4096];
        const ssize_t size = answer > 0 ? read(input, part, sizeof part) : 0;
        if (size <= 0) {
            return text;
        }
        text.append(part, static_cast<size_t>(size));
    }
}

/** The process's exit status; -1 if a signal has ended it; no value if it was killed because it did not end in time. */
std::optional<int> reap(pid_t process, Clock::time_point deadline) {
    int status = 0;
    while (waitpid(process, &status, WNOHANG) == 0) {
        if (Clock::now() >= deadline) {
            kill(process, SIGKILL); // do not wait for its end: it may hang in an uninterruptible system call
            return std::nullopt;
        }
        std::this_thread::sleep_for(milliseconds(1));
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void finish(Findings& findings, const Child& child, Clock::time_point deadline) {
    const std::string lines = receive(child.output, deadline);
    const std::optional<int> status = reap(child.process, deadline);
    for (size_t start = 0, end = 0; (end = lines.find('\n', start)) != std::string::npos; start = end + 1) {
        findings.push_back(Json::parse(lines.substr(start, end - start)).get<Finding>());
    }
    if (status != PART_COMPLETE) {
        const std::string limit = std::to_string(CHECK_SECONDS);
        findings.push_back({Verdict::BAD, child.part->subject,
                            status.has_value() ? "its check broke off" : "no answer within " + limit + " seconds",
                            child.part->remedy});
    }
}

} // namespace

Findings runApart(const std::vector<CheckPart>& parts) {
    const auto deadline = Clock::now() + std::chrono::seconds(CHECK_SECONDS);
    fflush(stdout);
    std::vector<Child> children;
    children.reserve(parts.size());
    for (const CheckPart& part : parts) {
        children.push_back(begin(part));
    }
    Findings findings;
    for (const Child& child : children) {
        finish(findings, child, deadline);
        close(child.output);
    }
    return findings;
}

} // namespace storestate
