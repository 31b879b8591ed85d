// After any failure, kill or power cut, a study has its old record or its new one, never a part of one. A killed
// process leaves its lock, which must be removed by hand, and its temporary file, which does no harm.
#include "Disk.h"
#include "storestate/ModifyOptions.h"
#include "support/Export.h"
#include "support/Testing.h"

#include <algorithm>
#include <cstring>
#include <sys/stat.h>
#include <sys/wait.h>

namespace {

namespace fs = std::filesystem;

const std::string PADDING = std::string(5000, '#') + "\n"; ///< the text after it takes a second read
const std::string HEAD = "Version=\"2\"\nOwnerDevice=\"PACS7\"\n";
const std::string TAIL = "ForwardDevices=\"X Y\"\n";
const std::string MODIFIED = HEAD + "Folder=\"Main\"\nForwardDevices=\"X Y Z\"\n";
const std::string NEW = "Version=\"1\"\nOwnerDevice=\"PACS1\"\n";
const std::string FIRST = NEW + "Folder=\"Main\"\nForwardDevices=\"Z WS1\"\n";
const std::string CONVERTED =
    NEW + "Folder=\"Main\"\nArchiveDevice=\"@Archive-@TOP\"\nForwardDevices=\"X Y WS1 OLD1 OLD2 Z\"\n";

struct Scenario {
    const char* name;
    std::string record; ///< empty: none
    std::string list;   ///< empty: none
    std::string after;  ///< the record that the call leaves
    int32_t mode;
    bool cluster = false; ///< several hosts share the file system
} const SCENARIOS[] = {
    {"Modify", HEAD + PADDING + TAIL, "", MODIFIED, RECORD_MUST_EXIST},
    {"FirstSave", "", "", FIRST, RECORD_MUST_NOT_EXIST},
    {"Convert", PADDING + TAIL, "OLD1\n" + PADDING + "OLD2\n", CONVERTED, RECORD_MAY_EXIST},
    {"ClusterFirstSave", "", "", FIRST, RECORD_MUST_NOT_EXIST, true},
    {"ClusterConvert", PADDING + TAIL, "OLD1\n" + PADDING + "OLD2\n", CONVERTED, RECORD_MAY_EXIST, true},
};
/** For the test's name. */
void PrintTo(const Scenario& scenario, std::ostream* out) {
    *out << scenario.name;
}

// Outcomes. <path> and <to> stand for the paths of the failed call, <number> and <text> for its error.
const std::string NOT_MADE = "Unknown Exception: [1] Study 1.2.3 could not be created in repository.";
const std::string UNREAD = "Unknown Exception: [1] Record of study 1.2.3 exists but was not read.";
const std::string NOT_OPENED = "IO Exception: [<number>] Opening file for reading failed: <path> <text>";
const std::string NOT_READ = "IO Exception: [<number>] Reading file failed: <path> <text>";
const std::string NOT_WRITTEN = "IO Exception: [<number>] Writing file failed: <path> <text>";

/** The outcome of a modification whose given call fails. A call without a rule does not matter. */
const struct Rule {
    int ops;
    int places;
    std::string result;
    int passedOver = 0; ///< this error is retried or does not matter
} RULES[] = {
    {STAT, STUDY | RECORD, "false"}, // one of these four, depending on why the study was looked for
    {STAT, STUDY, "Unknown Exception: [1] Study 1.2.3 not found in repository."},
    {STAT, STUDY, NOT_MADE},
    {STAT, STUDY, UNREAD},
    {OPEN, LOCK, "IO Exception: [<number>] Creating semaphore failed: storestate_1.2.3 [<text>]"},
    {OPEN, RECORD | LIST, NOT_OPENED},
    {READ, RECORD | LIST, NOT_READ, EINTR},
    {OPENDIR | READDIR | FSTAT, INFO | RECORD | LIST, NOT_READ}, // of a cluster
    {MKDIR, STUDY, NOT_MADE, EEXIST},
    {OPEN, ROOT, NOT_MADE},
    {FSYNC, ROOT, NOT_MADE, EINVAL},
    {MKDIR, INFO, "Unknown Exception: [1] Could not create info directory <path> [<number>: <text>]", EEXIST},
    {LSTAT, RECORD, UNREAD},
    {OPEN, STUDY | INFO, NOT_WRITTEN},
    {FSYNC, STUDY | INFO, NOT_WRITTEN, EINVAL},
    {OPEN, TEMPORARY, "false"},
    {WRITE, TEMPORARY, NOT_WRITTEN, EINTR},
    {FSYNC | CLOSE, TEMPORARY, NOT_WRITTEN},
    {RENAME, TEMPORARY, "Unknown Exception: [1] Could not rename <path> to <to> [<number>: <text>]"},
    {UNLINK, LOCK, "IO Exception: [<number>] Releasing semaphore failed: storestate_1.2.3 [<text>]"},
};

/** The outcome by the first failed call that has a rule. Of the rules for STAT, the one that fits `outcome`. */
std::string expected(const std::string& outcome) {
    for (const Call& call : trace) {
        const std::string number = std::to_string(call.error), text = strerror(call.error);
        for (const auto& [ops, places, result, passedOver] : RULES) {
            const bool applies = call.injected && (ops & call.op) != 0 && (places & call.place) != 0;
            if (!applies || passedOver == call.error) {
                continue;
            }
            const std::string decided = expand(
                result, {{"<path>", call.path}, {"<to>", call.argument}, {"<number>", number}, {"<text>", text}});
            if (decided == outcome || ops != STAT) {
                return decided;
            }
        }
    }
    return "true";
}

/** The last call of a kind; a failed one if there was none. */
Call lastCall(Op op, Place place) {
    const auto found = std::find_if(trace.rbegin(), trace.rend(),
                                    [&](const Call& call) { return call.op == op && call.place == place; });
    return found != trace.rend() ? *found : Call{op, "", place, "", "", false, ENOENT};
}

/** A study whose system calls are noted. */
class NotedStudy : public Workplace {
protected:
    NotedStudy() {
        places = {{repository(), ROOT}, {study, STUDY}, {info, INFO}, {record, RECORD}, {list, LIST}};
        places.insert({{temporary, TEMPORARY}, {lock, LOCK}, {locks(), LOCK}});
        shown = [](struct dirent&) {};
        paused = [this](long) { ++pauses; };
    }

    /** Works under a plan; returns the exception. */
    std::string noted(const Plan& wanted, const std::function<void()>& work) {
        plan = wanted;
        pauses = 0;
        trace.clear();
        noting = true;
        std::string failure = thrown(work);
        noting = false;
        return failure;
    }

    /** One modification: "true", "false", or the exception. A second one changes nothing. */
    std::string modify(const Plan& wanted, int32_t mode) {
        std::string result;
        const std::string failure = noted(wanted, [&] {
            StoreState state("1.2.3", ""); // its devices replace those of the database
            state.autoForwardDevices.push_back(new StoreState::StoreDevice("PACS1", "C"));
            state.autoForwardDevices.push_back(new StoreState::StoreDevice("WS1", "F"));
            const std::vector<OptionPair> pairs = {{"--folder", "Main"}, {"--fwddevice", "Z"}};
            result = modifyRecord(state, mode, pairsOf(pairs)) == ModifyResult::DONE ? "true" : "false";
        });
        return result + failure;
    }

    const std::string study = repository() + "/1.2.3";
    const std::string info = Workplace::info("1.2.3");
    const std::string record = Workplace::record("1.2.3");
    const std::string list = legacyList("1.2.3");
    const std::string lock = lockFile("1.2.3");
    const std::string temporary = record + "." + std::to_string(getpid());
    int pauses = 0;
};

class Faults : public testing::TestWithParam<Scenario>, protected NotedStudy {
protected:
    Faults() {
        if (!scenario.record.empty()) {
            start.insert({{study, "/"}, {info, "/"}, {record, scenario.record}});
        }
        if (!scenario.list.empty()) {
            start[list] = scenario.list;
        }
        for (int i = 0; i < 2; ++i) { // by the second call the library remembers a shared file system
            restore(start);
            EXPECT_EQ(call({}, scenario.mode), "true");
        }
        plain = trace;
    }

    void restore(const Disk::State& state) {
        fs::remove_all(repository());
        fs::remove(lock);
        for (const auto& [path, text] : state) {
            if (text == "/") {
                fs::create_directory(path);
            } else {
                Workplace::write(path, text);
            }
        }
        disk = Disk(state);
    }

    /** One modification under a plan. After "true", no power cut may lose the new record. */
    std::string call(const Plan& wanted, int32_t mode) {
        ofCluster = scenario.cluster;
        const std::string outcome = modify(wanted, mode);
        for (const Call& made : trace) {
            disk.apply(made);
        }
        for (Disk::State state : disk.states()) {
            if (outcome == "true") {
                EXPECT_EQ(state[record], scenario.after);
            }
        }
        return outcome;
    }

    void expectNextCall() {
        fs::remove(lock); // by hand
        EXPECT_EQ(call({}, RECORD_MAY_EXIST), "true");
        EXPECT_EQ(Workplace::read(record), scenario.after);
    }

    /** After an interruption. The old record still has its list: otherwise a device would be in neither. */
    void expectOldOrNewRecord() {
        const std::string now = Workplace::read(record);
        EXPECT_THAT(now, testing::AnyOf(scenario.record, scenario.after));
        if (now != scenario.after) {
            EXPECT_EQ(Workplace::read(list), scenario.list);
        }
        expectNextCall();
    }

    /** One modification under a plan, and one after it. */
    void attempt(const Plan& fault) {
        const char* const ways[] = {"not", "once", "again and again", "and all later ones"};
        SCOPED_TRACE(testing::Message() << plain[fault.at].name << " " << plain[fault.at].path << ", call " << fault.at
                                        << ", " << ways[fault.how] << ", error " << fault.error);
        restore(start);
        const std::string outcome = call(fault, scenario.mode);
        const bool renamed = lastCall(RENAME, TEMPORARY).error == 0;
        EXPECT_EQ(Workplace::read(record), renamed ? scenario.after : scenario.record);
        if (!renamed) {
            EXPECT_EQ(Workplace::read(list), scenario.list) << "a device would be in neither";
        } else {
            EXPECT_FALSE(lastCall(OPEN, INFO).injected) << "known before the rename";
        }
        EXPECT_EQ(expected(outcome), outcome);
        EXPECT_EQ(openFiles.size(), 0);
        EXPECT_EQ(fs::exists(lock), lastCall(UNLINK, LOCK).injected);
        EXPECT_EQ(fs::exists(temporary), lastCall(UNLINK, TEMPORARY).injected);
        if (outcome == "true") {
            EXPECT_TRUE(renamed);
            EXPECT_EQ(fs::exists(list), lastCall(UNLINK, LIST).injected);
        }
        expectNextCall();
    }

    const Scenario& scenario = GetParam();
    Disk::State start = {{repository(), "/"}};
    Disk disk{start};
    std::vector<Call> plain; ///< when all goes well
};

TEST_P(Faults, EveryCallFails) {
    for (size_t at = 0; at < plain.size(); ++at) {
        for (const int error : {EMFILE, ENOSPC, EIO, EACCES, EINTR, EDQUOT, EROFS, EINVAL, SHORT}) {
            attempt({Plan::ONCE, at, error});
            const bool triesForEver = error == EINTR && (plain[at].op == READ || plain[at].op == WRITE);
            if (!triesForEver) {
                attempt({Plan::SAME, at, error});
            }
        }
        if (plain[at].op == MKDIR) {
            attempt({Plan::ONCE, at, EEXIST});
        }
        attempt({Plan::ALL, at, ENOSPC}); // not the error of the later ones
    }
}

TEST_P(Faults, KilledAtEveryCall) {
    for (size_t at = 0; at < plain.size(); ++at) {
        SCOPED_TRACE(plain[at].name + (" " + plain[at].path));
        restore(start);
        const pid_t child = fork();
        if (child == 0) {
            places[record + "." + std::to_string(getpid())] = TEMPORARY;
            _exit(call({Plan::KILL, at, 0}, scenario.mode) == "true");
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(WTERMSIG(status), SIGKILL);
        for (size_t done = 0; done < at; ++done) {
            disk.apply(plain[done]);
        }
        expectOldOrNewRecord();
    }
}

TEST_P(Faults, PowerIsCut) {
    Disk cut(start);
    std::set<Disk::State> known;
    bool locked = false;
    for (const Call& call : plain) {
        SCOPED_TRACE(call.name + (" " + call.path));
        locked = call.place == LOCK ? call.op != UNLINK : locked;
        if ((call.op & (OPEN | WRITE | FSYNC | RENAME | UNLINK | MKDIR)) != 0 && call.place != LOCK) {
            EXPECT_TRUE(locked);
        }
        EXPECT_NE(call.argument, "inheritable");
        cut.apply(call);
        for (const Disk::State& state : cut.states()) {
            if (known.insert(state).second) {
                restore(state);
                expectOldOrNewRecord();
            }
        }
    }
}

/** A study on a file system that several hosts share. */
class Cluster : public testing::Test, protected NotedStudy {
protected:
    Cluster() { ofCluster = true; }

    static std::ptrdiff_t count(Op op, int where) {
        return std::count_if(trace.begin(), trace.end(),
                             [=](const Call& call) { return call.op == op && (call.place & where) != 0; });
    }

    const std::string stale = "IO Exception: [116] Reading file failed: " + record + " Stale file handle";
};

constexpr int FOR_GOOD = 99;
constexpr int LOOKS = 7;           ///< pauses between looks that list
constexpr int SETTLED = LOOKS + 2; ///< and before two that do not
constexpr int REFUSED = LOOKS + 1; ///< the first of these has found nothing

void asRecord(struct dirent& entry, bool) {
    if (entry.d_name[0] == 'f') {
        strcpy(entry.d_name, "storestate.rec");
    }
}

/** What a host is shown of a directory, from the given listing on and until so many pauses were made. */
const struct {
    const char* name;
    std::string record; ///< there is also a list, to be shown as the record
    void (*show)(struct dirent& entry, bool ofRecord);
    int from;
    int until;
    int pauses;
} LISTINGS[] = {
    {"another file, once", HEAD, [](auto& entry, bool ofRecord) { entry.d_ino += ofRecord; }, 1, 1, 1},
    {"another file", HEAD, [](auto& entry, bool ofRecord) { entry.d_ino += ofRecord; }, 1, FOR_GOOD, SETTLED},
    {"no record", HEAD, [](auto& entry, bool ofRecord) { entry.d_name[0] += ofRecord; }, 1, FOR_GOOD, SETTLED},
    {"a deleted record", "", asRecord, 1, FOR_GOOD, REFUSED},
    {"one deleted after the load", "", asRecord, 2, FOR_GOOD, REFUSED},
    {"other numbers", HEAD, [](auto& entry, bool) { entry.d_ino += 9; }, 1, FOR_GOOD, 0},
    {"number 0", HEAD, [](auto& entry, bool ofRecord) { entry.d_ino *= !ofRecord; }, 1, FOR_GOOD, 0},
    {"32 ones", HEAD, [](auto& entry, bool ofRecord) { entry.d_ino |= -ofRecord & ~0U; }, 1, FOR_GOOD, 0},
    {"64 ones", HEAD, [](auto& entry, bool ofRecord) { entry.d_ino |= -ino_t(ofRecord); }, 1, FOR_GOOD, 0},
};

TEST_F(Cluster, OldNamesCostNoChange) {
    for (const auto& listing : LISTINGS) {
        SCOPED_TRACE(listing.name);
        fs::remove_all(study);
        Workplace::write(list, "");
        if (!listing.record.empty()) {
            Workplace::write(record, listing.record + TAIL);
        }
        const std::string before = Workplace::read(record);
        shown = [&](struct dirent& entry) {
            const bool reached = count(OPENDIR, INFO) >= listing.from && pauses < listing.until;
            if (reached && entry.d_name != std::string("..")) {
                listing.show(entry, entry.d_name[0] == 's');
            }
        };
        const bool works = listing.pauses != REFUSED;
        EXPECT_EQ(modify({}, RECORD_MAY_EXIST), works ? "true" : stale);
        EXPECT_EQ(Workplace::read(record), works ? MODIFIED : before);
        EXPECT_EQ(pauses, listing.pauses);
        EXPECT_FALSE(fs::exists(lock));
    }
}

TEST_F(Cluster, EachStepOfALookIsTriedAgain) {
    for (int i = 0; i < 2; ++i) { // by the second call the library remembers the shared file system
        Workplace::write(record, HEAD + TAIL);
        EXPECT_EQ(modify({}, RECORD_MUST_EXIST), "true");
    }
    const std::vector<Call> plain = trace;
    int tried = 0;
    bool locked = false;
    bool read = false;
    for (size_t at = 0; at < plain.size() && !read; ++at) {
        const Call& call = plain[at];
        const bool step = call.place == RECORD || (call.place == INFO && call.op != CLOSE);
        for (const int error : {ESTALE, ENOENT}) {
            const bool absent = error == ENOENT && (call.op & (FSTAT | READ)) == 0;
            if (!step || absent) {
                continue;
            }
            SCOPED_TRACE(testing::Message() << call.name << " " << call.path << ", call " << at << ", error " << error);
            Workplace::write(record, HEAD + TAIL);
            EXPECT_EQ(modify({Plan::ONCE, at, error}, RECORD_MUST_EXIST), "true");
            EXPECT_EQ(Workplace::read(record), MODIFIED);
            EXPECT_EQ(pauses, locked) << "before the lock, a listing confirms the record at once";
            ++tried;
        }
        locked = locked || call.place == LOCK;
        read = call.op == READ && call.place == RECORD;
    }
    EXPECT_GT(tried, 10);
}

/** The servers list a file that was replaced, and whoever has listed opens that file. */
TEST_F(Cluster, AWrongListingIsSettledWithoutListing) {
    struct {
        const char* name;
        int alive;    ///< from this pause on
        int replaced; ///< at this pause
        int pauses;
        bool works;
    } const cases[] = {
        {"the right file once the caches have expired", REFUSED, FOR_GOOD, SETTLED, true},
        {"only the dead file", FOR_GOOD, FOR_GOOD, REFUSED, false},
        {"a file that the second open does not confirm", REFUSED, SETTLED, SETTLED, false},
    };
    Workplace::write(record, HEAD + TAIL);
    EXPECT_EQ(modify({}, RECORD_MAY_EXIST), "true");
    const auto read = std::find_if(trace.begin(), trace.end(), [](const Call& call) { return call.op == READ; });
    const Plan dead = {Plan::SAME, static_cast<size_t>(read - trace.begin()), ESTALE};
    shown = [](struct dirent& entry) { entry.d_ino += entry.d_name[0] == 's'; };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        Workplace::write(record, HEAD + TAIL);
        Workplace::write(record + ".new", HEAD + TAIL);
        paused = [&](long seconds) {
            ++pauses;
            if (pauses == each.alive) {
                plan = {};
            }
            if (pauses == each.replaced) {
                fs::rename(record + ".new", record);
            }
            if (pauses > LOOKS) {
                EXPECT_GE(seconds, 3);
            }
        };
        EXPECT_EQ(modify(dead, RECORD_MAY_EXIST), each.works ? "true" : stale);
        EXPECT_EQ(pauses, each.pauses);
        EXPECT_EQ(count(OPENDIR, INFO), LOOKS + 1) << "none after the last look that lists";
    }
}

/** What is in the record's place or in the list's, and the answer, which is the same on every file system. */
TEST_F(Cluster, AnswersAsALocalFileSystemDoes) {
    const std::string elsewhere = root + "/elsewhere";
    struct {
        const char* name;
        std::function<void()> prepare;
        int32_t mode;
        std::string answer;
        bool locks; ///< otherwise the condition fails before the lock is taken and anything is opened
    } const cases[] = {
        {"a link", [&] { fs::create_symlink(elsewhere, record); }, RECORD_MUST_EXIST, "true", true},
        {"a dangling link", [&] { fs::create_symlink("/none", record); }, RECORD_MAY_EXIST, UNREAD, true},
        {"a dangling link", [&] { fs::create_symlink("/none", record); }, RECORD_MUST_EXIST, "false", false},
        {"a dangling list",
         [&] {
             Workplace::write(record, TAIL);
             fs::create_symlink("/none", list);
         },
         RECORD_MUST_EXIST, "true", true},
        {"a pipe", [&] { mkfifo(record.c_str(), 0600); }, RECORD_MUST_NOT_EXIST, "false", false},
        {"a directory", [&] { fs::create_directory(record); }, RECORD_MUST_NOT_EXIST, "false", false},
        {"no record", [] {}, RECORD_MUST_EXIST, "false", false},
        {"no information directory", [&] { fs::remove(info); }, RECORD_MUST_EXIST, "false", false},
        {"no study", [&] { fs::remove_all(study); }, RECORD_MUST_EXIST, "false", false},
    };
    for (const auto& each : cases) {
        for (const char* system : {"local", "cluster", "cluster that lists no types"}) {
            SCOPED_TRACE(testing::Message() << each.name << ", " << system);
            fs::remove_all(study);
            fs::create_directories(info);
            Workplace::write(elsewhere, HEAD + TAIL);
            each.prepare();
            ofCluster = system != std::string("local");
            const bool typed = system != std::string("cluster that lists no types");
            shown = [=](struct dirent& entry) { entry.d_type *= typed; }; // or DT_UNKNOWN
            EXPECT_EQ(modify({}, each.mode), each.answer);
            EXPECT_EQ(count(OPEN, LOCK), each.locks ? 1 : 0);
            EXPECT_TRUE(ofCluster || count(OPENDIR, INFO) == 0) << "nothing is listed on a local file system";
            EXPECT_EQ(pauses, 0);
            if (!each.locks) {
                EXPECT_EQ(count(OPEN, RECORD | LIST), 0);
            }
        }
    }
}

/** The name that a client has cached as missing, and what makes the client ask its server. */
TEST_F(Cluster, AMissingNameIsLookedAtTwice) {
    Workplace::write(record, HEAD + TAIL);
    EXPECT_EQ(modify({Plan::ONCE, 0, ENOENT}, RECORD_MUST_EXIST), "true") << "the study, in the plug-in";
    EXPECT_EQ(trace[0].path, study);
    EXPECT_EQ(trace[1].path, repository());
    EXPECT_EQ(trace[1].argument, "refreshed");

    EXPECT_EQ(modify({}, RECORD_MUST_EXIST), "true");
    const auto listing = std::find_if(trace.begin(), trace.end(), [](const Call& call) { return call.op == OPENDIR; });
    const auto at = static_cast<size_t>(listing - trace.begin());
    EXPECT_EQ(modify({Plan::ONCE, at, ENOENT}, RECORD_MUST_EXIST), "true") << "the information directory";
    EXPECT_EQ(count(READDIR, STUDY), 4) << "its parent is listed to the end";
    EXPECT_EQ(pauses, 0);

    QXSemaphore first("storestate_1.2.3", locks(), true);
    noted({Plan::ONCE, 0, EPERM}, [&] { first.lockResource(); });
    EXPECT_TRUE(first.locked) << "what sshfs does not find at once";
    for (const bool own : {false, true}) {
        SCOPED_TRACE(own);
        QXSemaphore semaphore("storestate_1.2.3", locks(), false);
        Workplace::write(lock, "");
        (own ? semaphore.locked : semaphore.forceUnlock) = true;
        noted({Plan::ONCE, 0, ENOENT}, [&] { semaphore.unlock(); });
        EXPECT_EQ(fs::exists(lock), own) << "no client caches that its own lock is missing";
        EXPECT_EQ(count(READDIR, LOCK), own ? 0 : 4) << "listed to the end";
        EXPECT_FALSE(semaphore.locked || semaphore.forceUnlock);
    }
}

/** A server makes the series' directories before the record. */
TEST_F(Cluster, TheRootIsSyncedForANewStudy) {
    fs::create_directories(study + "/series");
    EXPECT_EQ(modify({}, RECORD_MAY_EXIST), "true");
    EXPECT_EQ(count(FSYNC, ROOT), 1);
    EXPECT_EQ(modify({}, RECORD_MAY_EXIST), "true");
    EXPECT_EQ(count(FSYNC, ROOT), 0);
}

TEST(Memory, ThatIsShortForASessionLosesNothing) {
    const Workplace here;
    Workplace::write(here.record("1.2.3"), TAIL);
    EXPECT_EQ(thrown([] { StoreState("1.2.3", "").load(); }), "Unknown Exception: [1] Error connecting to MySQL");
    EXPECT_EQ(Workplace::read(here.record("1.2.3")), TAIL);
}

INSTANTIATE_TEST_SUITE_P(Calls, Faults, testing::ValuesIn(SCENARIOS), testing::PrintToStringParamName());

} // namespace

/** The client library's, without any memory; all other tests bring their devices. */
extern "C" STORESTATE_EXPORT void* mysql_init(void*) {
    return nullptr;
}
