#include "check/CheckApart.h"
#include "check/CheckMounts.h"
#include "check/CheckOutput.h"
#include "check/Directories.h"
#include "check/SystemLog.h"
#include "support/Testing.h"

#include <csignal>
#include <sys/socket.h>
#include <sys/un.h>

using namespace storestate;

namespace {

/** A socket of its own, after `join` (bind or connect) has taken it to the path; -1 when that is refused. */
int socketAt(const std::string& path, int type, int (*join)(int, const struct sockaddr*, socklen_t)) {
    const int own = socket(AF_UNIX, type | SOCK_NONBLOCK, 0);
    struct sockaddr_un address = {AF_UNIX, {}};
    strcpy(address.sun_path, path.c_str());
    return join(own, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 ? own : -1;
}

TEST(SystemLog, NamesHowItsListenerDoes) {
    const Workplace workplace;
    EXPECT_EQ(logListener((workplace.root + "/none").c_str()), LogListener::NONE);
    for (const int type : {SOCK_DGRAM, SOCK_STREAM}) {
        const std::string path = workplace.root + "/log" + std::to_string(type);
        listen(socketAt(path, type, bind), 0);
        EXPECT_EQ(logListener(path.c_str()), LogListener::READS) << type;
        for (int writer = 0; writer >= 0;) { // until nothing more comes in, or can be written
            writer = socketAt(path, type, connect);
            if (type == SOCK_DGRAM && send(writer, "x", 1, 0) < 0) {
                break;
            }
        }
        EXPECT_EQ(logListener(path.c_str()), LogListener::STANDS_STILL) << type;
    }
}

TEST(CheckSpace, TellsFullFromNearlyFull) {
    const struct {
        fsblkcnt_t blocks, blocksLeft, inodes, inodesLeft;
        Verdict worst;
        const char *name, *text = "";
    } rows[] = {
        {5000, 50, 1000, 10, Verdict::GOOD, "plenty of both"},
        {5000, 0, 1000, 10, Verdict::BAD, "no space", "/x: the disk is full"},
        {102400, 1023, 1000, 10, Verdict::NOTE, "little space", "/x: the disk is nearly full: 3 MiB left"},
        {5000, 50, 1000, 0, Verdict::BAD, "no inodes", "/x: the file system has no inodes left"},
        {5000, 50, 1000, 9, Verdict::NOTE, "few inodes", "/x: the file system has only 9 inodes left"},
        {5000, 50, 0, 0, Verdict::GOOD, "inodes are not counted"},
        {0, 0, 0, 0, Verdict::GOOD, "a file system without blocks"},
    };
    for (const auto& row : rows) {
        struct statvfs state = {};
        state.f_frsize = 4096, state.f_blocks = row.blocks, state.f_bavail = row.blocksLeft;
        state.f_files = row.inodes, state.f_favail = row.inodesLeft;
        CheckReport report;
        setVariable("X", "/x");
        checkSpace(report, "X", state);
        EXPECT_EQ(report.worst(), row.worst) << row.name;
        EXPECT_EQ(report.findings().empty() ? "" : report.findings().front().text, row.text) << row.name;
    }
}

TEST(CheckMounts, KnowsTheOptionsThatGoWrong) {
    const struct {
        const char *type, *source, *options, *shown, *text; ///< options: where the client shows them
    } rows[] = {
        {"fuse.glusterfs", "", "/.meta/cmdline", "x --negative-timeout=0.5", " remembers missing names: "},
        {"fuse.glusterfs", "", "/.meta/cmdline", "use-readdirp=no", " learns no names from listings: "},
        {"fuse.glusterfs", "", "/.meta/cmdline", "use-readdirp=yes negative-timeout=0", " has options that suit"},
        {"fuse.glusterfs", "", "/.params", "mfsnegentrycacheto: 1", " does not show its options"},
        {"fuse", "mfs#h:9", "/.params", "mfsnegentrycacheto: 1.000000", " remembers missing names: "},
        {"xfuse", "mfs#h:9", "/.params", "mfsnegentrycacheto: 1", ""},
        {"nfs4", "h:/", "/.params", "", " remembers names, "},
        {"nfs4", "h:/lookupcache=none", "/.params", "", ""},
    };
    for (const auto& row : rows) {
        const Workplace place;
        Workplace::write(place.root + row.options, row.shown);
        CheckReport report;
        checkMount(report, "X", {place.root, row.source, row.type, row.source});
        const std::string found = report.findings().empty() ? "" : report.findings().front().text;
        EXPECT_EQ(found.empty(), *row.text == '\0') << found;
        EXPECT_NE(found.find(row.text), std::string::npos) << row.shown << ": " << found;
    }
}

TEST(CheckDirectories, KnowsWhatLiesInWhat) {
    for (const char* directory : {"/", "/a", "/a/b"}) {
        EXPECT_TRUE(liesIn("/a/b", directory)) << directory;
    }
    for (const char* other : {"/a/b/c", "/a/", "/ab", "/b"}) {
        EXPECT_FALSE(liesIn("/a/b", other)) << other;
    }
}

TEST(CheckDirectories, TellsWhatToDoByTheReason) {
    const char *away = "repair the mount, or the server behind it",
               *full = "free space and inodes there, or raise the quota";
    for (const int n : {EIO, ESTALE, ENOTCONN, ETIMEDOUT, EHOSTDOWN}) {
        EXPECT_EQ(remedyForWriting(n), away) << n;
    }
    for (const int n : {ENOSPC, EDQUOT}) {
        EXPECT_EQ(remedyForWriting(n), full) << n;
    }
}

TEST(CheckApart, KeepsWhatWasFoundBeforeAPartFailed) {
    CheckReport report;
    checkApart(report, {{"crash", "repair",
                         [](CheckReport& part) {
                             part.good("before", "line\nbreak \xff");
                             raise(SIGKILL);
                         }},
                        {"hang", "wait", [](CheckReport&) { sleep(100); }},
                        {"throw", "", [](CheckReport&) { throw std::runtime_error("odd"); }},
                        {"late", "", [](CheckReport& part) { part.note("late", "seen", "do"); }}});
    EXPECT_EQ(findingLines(report, false),
              "ok    before                  line?break \xEF\xBF\xBD\n"
              "BAD   crash                   ended this look by a signal: Killed -> repair\n"
              "BAD   hang                    no answer within 5 seconds -> wait\n"
              "?     throw                   odd -> try again\n"
              "note  late                    seen -> do\n");
    EXPECT_EQ(monitorLine(report), "STORESTATE CRITICAL: crash ended this look by a signal: Killed; hang no answer "
                                   "within 5 seconds | bad=2 unknown=1 notes=1\n");
}

TEST(CheckReport, StatusIsThatOfTheWorst) {
    CheckReport report;
    for (const auto& [verdict, status] : std::vector<std::pair<Verdict, int>>{
             {Verdict::GOOD, 0}, {Verdict::NOTE, 1}, {Verdict::UNKNOWN, 3}, {Verdict::BAD, 2}}) {
        report.add({verdict, "a|b", "c|d", ""});
        EXPECT_EQ(monitorStatus(report.worst()), status);
    }
    EXPECT_EQ(monitorLine(report), "STORESTATE CRITICAL: a/b c/d | bad=1 unknown=1 notes=1\n");
}

} // namespace
