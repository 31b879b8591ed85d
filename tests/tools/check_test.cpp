// The parts of `check`: how they are kept apart, what they look at, and how their findings are printed.
#include "check/Parts.h"
#include "support/Testing.h"

#include <csignal>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>

using namespace storestate;

namespace {

/** Binds or connects a new socket to the path; -1 when that is refused. */
int socketAt(const std::string& path, int type, int (*join)(int, const struct sockaddr*, socklen_t)) {
    const int own = socket(AF_UNIX, type | SOCK_NONBLOCK, 0);
    struct sockaddr_un address = {AF_UNIX, {}};
    strcpy(address.sun_path, path.c_str());
    return join(own, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 ? own : -1;
}

TEST(CheckSystemLog, TellsWhetherSomebodyReads) {
    const Workplace workplace;
    const std::string path = workplace.root + "/log";
    EXPECT_EQ(logFinding(path.c_str()).verdict, Verdict::NOTE);
    socketAt(path, SOCK_DGRAM, bind);
    EXPECT_EQ(logFinding(path.c_str()).verdict, Verdict::GOOD);
    while (send(socketAt(path, SOCK_DGRAM, connect), "x", 1, 0) == 1) {
    }
    EXPECT_EQ(logFinding(path.c_str()).verdict, Verdict::BAD);
    std::filesystem::remove(path);
    listen(socketAt(path, SOCK_STREAM, bind), 0);
    EXPECT_EQ(logFinding(path.c_str()).verdict, Verdict::GOOD);
    while (socketAt(path, SOCK_STREAM, connect) >= 0) {
    }
    EXPECT_EQ(logFinding(path.c_str()).verdict, Verdict::BAD);
}

TEST(RunApart, KeepsWhatWasFoundBeforeAPartFailed) {
    const auto crash = [](const Report& report) {
        report({Verdict::GOOD, "before", "line\nbreak", ""});
        raise(SIGKILL);
    };
    const auto hang = [](const Report&) { sleep(100); };
    const auto fail = [](const Report&) { throw 42; };
    const Findings findings = runApart({{"crash", "repair", crash}, {"hang", "wait", hang}, {"fail", "repair", fail}});
    EXPECT_EQ(findingLines(findings), "ok    before                  line?break\n"
                                      "BAD   crash                   its check broke off -> repair\n"
                                      "BAD   hang                    no answer within 5 seconds -> wait\n"
                                      "BAD   fail                    its check broke off -> repair\n");
}

TEST(Findings, AreOkForMonitorsWhenNothingIsWrong) {
    EXPECT_EQ(monitorText({{Verdict::GOOD, "a", "b", ""}}), "STORESTATE OK | bad=0 unknown=0 notes=0\n");
    EXPECT_EQ(monitorStatus(Verdict::GOOD), 0);
}

} // namespace
