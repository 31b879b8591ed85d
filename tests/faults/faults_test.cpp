// After any failure, kill or power cut, a study has its old record or its new one, never a part of one. A killed
// process leaves its lock, which must be removed by hand, and its temporary file, which does no harm.
#include "Disk.h"
#include "storestate/ModifyOptions.h"
#include "support/Export.h"
#include "support/Testing.h"

#include <algorithm>
#include <cstring>
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

/** One modification: "true", "false", or the exception. A second one changes nothing. */
std::string modify(int32_t mode) {
    std::string result;
    noting = true;
    const std::string failure = thrown([&] {
        StoreState state("1.2.3", ""); // its devices replace those of the database
        state.autoForwardDevices.push_back(new StoreState::StoreDevice("PACS1", "C"));
        state.autoForwardDevices.push_back(new StoreState::StoreDevice("WS1", "F"));
        const std::vector<OptionPair> pairs = {{"--folder", "Main"}, {"--fwddevice", "Z"}};
        result = modifyRecord(state, mode, pairsOf(pairs)) == ModifyResult::DONE ? "true" : "false";
    });
    noting = false;
    return result + failure;
}

class Faults : public testing::TestWithParam<Scenario> {
protected:
    Faults() {
        places = {{root, ROOT}, {study, STUDY}, {info, INFO}, {record, RECORD}, {list, LIST}, {lock, LOCK}};
        places[temporary] = TEMPORARY;
        if (!scenario.record.empty()) {
            start.insert({{study, "/"}, {info, "/"}, {record, scenario.record}});
        }
        if (!scenario.list.empty()) {
            start[list] = scenario.list;
        }
        restore(start);
        EXPECT_EQ(call({}, scenario.mode), "true");
        plain = trace;
    }

    void restore(const Disk::State& state) {
        fs::remove_all(root);
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
        plan = wanted;
        ofCluster = scenario.cluster;
        trace.clear();
        const std::string outcome = modify(mode);
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
        }
        if (renamed) {
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
    Workplace here;
    const std::string root = here.repository();
    const std::string study = root + "/1.2.3";
    const std::string info = here.info("1.2.3");
    const std::string record = here.record("1.2.3");
    const std::string list = here.legacyList("1.2.3");
    const std::string lock = here.lockFile("1.2.3");
    const std::string temporary = record + "." + std::to_string(getpid());
    Disk::State start = {{root, "/"}};
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
        const std::string now = Workplace::read(record);
        EXPECT_EQ(now, now == scenario.record ? scenario.record : scenario.after);
        if (now != scenario.after) {
            EXPECT_EQ(Workplace::read(list), scenario.list) << "a device would be in neither";
        }
        expectNextCall();
    }
}

TEST_P(Faults, PowerIsCut) {
    Disk cut(start);
    std::set<Disk::State> known;
    bool locked = false;
    for (const Call& call : plain) {
        SCOPED_TRACE(call.name + (" " + call.path));
        locked = call.place == LOCK ? call.op != UNLINK : locked;
        if (call.op != STAT && call.op != STATFS && call.place != LOCK) {
            EXPECT_TRUE(locked);
        }
        EXPECT_NE(call.argument, "inheritable");
        cut.apply(call);
        for (const Disk::State& state : cut.states()) {
            if (!known.insert(state).second) {
                continue;
            }
            restore(state);
            const std::string now = Workplace::read(record);
            EXPECT_EQ(now, now == scenario.record ? scenario.record : scenario.after);
            expectNextCall(); // which loads it
        }
    }
}

constexpr int FOR_GOOD = 99;

void asRecord(struct dirent& entry, bool) {
    if (entry.d_name[0] == 'f') {
        strcpy(entry.d_name, "storestate.rec");
    }
}

/** What a host of a cluster is shown of a directory, from the given listing on and until so many pauses were made. */
const struct {
    const char* name;
    std::string record; ///< there is also a list, to be shown as the record
    void (*show)(struct dirent& entry, bool ofRecord);
    int from, until, pauses; ///< as many as there are: in vain
} LISTINGS[] = {
    {"another file, once", HEAD, [](auto& entry, bool ofRecord) { entry.d_ino += ofRecord; }, 1, 1, 1},
    {"another file", HEAD, [](auto& entry, bool ofRecord) { entry.d_ino += ofRecord; }, 1, FOR_GOOD, 7},
    {"no record", HEAD, [](auto& entry, bool ofRecord) { entry.d_name[0] += ofRecord; }, 1, FOR_GOOD, 7},
    {"a deleted record", "", asRecord, 1, FOR_GOOD, 7},
    {"one deleted after the load", "", asRecord, 2, FOR_GOOD, 7},
    {"other numbers", HEAD, [](auto& entry, bool) { entry.d_ino += 9; }, 1, FOR_GOOD, 0},
    {"number 0", HEAD, [](auto& entry, bool ofRecord) { entry.d_ino *= !ofRecord; }, 1, FOR_GOOD, 0},
    {"32 ones", HEAD, [](auto& entry, bool ofRecord) { entry.d_ino |= -ofRecord & ~0U; }, 1, FOR_GOOD, 0},
    {"64 ones", HEAD, [](auto& entry, bool ofRecord) { entry.d_ino |= -ino_t(ofRecord); }, 1, FOR_GOOD, 0},
};

TEST(Cluster, OldNamesCostNoChange) {
    plan = {};
    ofCluster = true;
    for (const auto& listing : LISTINGS) {
        SCOPED_TRACE(listing.name);
        const Workplace here;
        const std::string record = here.record("1.2.3");
        Workplace::write(here.legacyList("1.2.3"), "");
        if (!listing.record.empty()) {
            Workplace::write(record, listing.record + TAIL);
        }
        const std::string before = Workplace::read(record);
        int pauses = 0;
        paused = [&] { ++pauses; };
        places = {{here.info("1.2.3"), INFO}};
        trace.clear();
        shown = [&](struct dirent& entry) {
            const auto listings =
                std::count_if(trace.begin(), trace.end(), [](const Call& call) { return call.op == OPENDIR; });
            const bool wrong = listings >= listing.from && pauses < listing.until && entry.d_name != std::string("..");
            if (wrong) {
                listing.show(entry, entry.d_name[0] == 's');
            }
        };
        const bool works = listing.pauses < 7;
        EXPECT_EQ(modify(RECORD_MAY_EXIST),
                  works ? "true" : "IO Exception: [116] Reading file failed: " + record + " Stale file handle");
        EXPECT_EQ(Workplace::read(record), works ? MODIFIED : before);
        EXPECT_EQ(pauses, listing.pauses);
        EXPECT_FALSE(fs::exists(here.lockFile("1.2.3")));
    }
}

/** The first read says that there is no such file; by the second pause the name leads to another one. */
TEST(Cluster, ReadsPastAListingOfWhatIsGone) {
    const Workplace here;
    const std::string record = here.record("1.2.3");
    int pauses = 0;
    ofCluster = true;
    places = {{record, RECORD}};
    trace.clear();
    plan = {Plan::ONCE, 2, ESTALE}; // after it was opened and its number was looked at
    paused = [&] {
        Workplace::write(record + ".new", HEAD + TAIL);
        if (++pauses == 2) {
            fs::rename(record + ".new", record);
        }
    };
    Workplace::write(record, HEAD + "ForwardDevices=\"Q\"\n");
    EXPECT_EQ(modify(RECORD_MAY_EXIST), "true");
    EXPECT_EQ(Workplace::read(record), MODIFIED);
    EXPECT_EQ(pauses, 2);
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
