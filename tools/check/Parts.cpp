#include "check/Parts.h"

#include "terminal/Status.h"

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
using Json = nlohmann::ordered_json;
using std::chrono::milliseconds;

/** A part in its process. */
struct Child {
    const CheckPart* part;
    pid_t process;
    int output; ///< from where its findings are read
};

/** Sends each finding as a line of JSON, at once; never returns. */
[[noreturn]] void run(const CheckPart& part, int output) {
    const Report report = [output](const Finding& finding) {
        const std::string line = Json(finding).dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
        static_cast<void>(!write(output, line.data(), line.size()));
    };
    try {
        part.run(report);
    } catch (const std::exception& failure) {
        report({Verdict::UNKNOWN, part.subject, failure.what(), "try again"});
    }
    _exit(0);
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

/** What comes until the other end is closed; false when that has not happened in time. */
bool receive(int input, Clock::time_point deadline, std::string& text) {
    for (;;) {
        const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now()).count();
        pollfd ready = {input, POLLIN, 0};
        const int answer = poll(&ready, 1, std::max(0, static_cast<int>(left))); // in any case what is there already
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

/** How the process has ended; does not wait for one that hangs in a call that nothing interrupts. */
int reap(pid_t process) {
    int status = 0;
    const auto deadline = Clock::now() + milliseconds(500);
    while (waitpid(process, &status, WNOHANG) == 0 && Clock::now() < deadline) {
        std::this_thread::sleep_for(milliseconds(1));
    }
    return status;
}

void finish(Findings& findings, const Child& child, Clock::time_point deadline) {
    const CheckPart& part = *child.part;
    std::string lines;
    const bool inTime = receive(child.output, deadline, lines);
    if (!inTime) {
        kill(child.process, SIGKILL);
    }
    const int status = reap(child.process);
    for (size_t start = 0, end = 0; (end = lines.find('\n', start)) != std::string::npos; start = end + 1) {
        findings.push_back(Json::parse(lines.substr(start, end - start)).get<Finding>());
    }
    if (!inTime) {
        const std::string limit = std::to_string(CHECK_SECONDS);
        findings.push_back({Verdict::BAD, part.subject, "no answer within " + limit + " seconds", part.remedy});
    } else if (WIFSIGNALED(status)) {
        findings.push_back({Verdict::BAD, part.subject,
                            std::string("the check was ended by a signal: ") + strsignal(WTERMSIG(status)),
                            part.remedy});
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
