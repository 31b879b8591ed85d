// After any failure, kill or power cut, a study has its old record or its new one, never a part of one. A killed
// process leaves its lock, which must be removed by hand, and its temporary file, which does no harm.
#include "SystemCalls.h"
#include "storestate/ModifyOptions.h"
#include "support/Testing.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <set>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using namespace testing;

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

// Outcomes. <path> and <to> stand for the paths of the failed call, <number> and <text> for its error.
const std::string NOT_MADE = "Unknown Exception: [1] Study 1.2.3 could not be created in repository.";
const std::string NOT_FOUND = "Unknown Exception: [1] Study 1.2.3 not found in repository.";
const std::string UNREAD = "Unknown Exception: [1] Record of study 1.2.3 exists but was not read.";
const std::string NOT_OPENED = "IO Exception: [<number>] Opening file for reading failed: <path> <text>";
const std::string NOT_READ = "IO Exception: [<number>] Reading file failed: <path> <text>";
const std::string NOT_WRITTEN = "IO Exception: [<number>] Writing file failed: <path> <text>";

/** The outcome of a modification whose given call fails. A call without a rule does not matter. */
const struct Rule {
    int ops;
    int places;
    std::string result; ///< empty: that of a study that is not found
    int passedOver = 0; ///< this error is retried or does not matter
    Op after = 0;       ///< the call before it; 0: any
} RULES[] = {
    {STAT, STUDY, "", 0, REFRESH}, // the plug-in's second look
    {STAT, STUDY, NOT_MADE, 0, MKDIR},
    {STAT, RECORD, "false"},
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

/** The outcome by the first failed call that has a rule. */
std::string expected(int32_t mode) {
    std::string lost = mode == RECORD_MUST_EXIST ? "false" : ""; // without the study; empty: it goes on
    Op before = 0;                                               // on the way to the study
    for (const Call& call : trace) {
        for (const auto& [ops, places, result, passedOver, after] : RULES) {
            const bool applies = (ops & call.op) != 0 && (places & call.place) != 0 && (after == 0 || after == before);
            const std::string outcome =
                expand(result.empty() ? lost : result, {{"<path>", call.path},
                                                        {"<to>", call.argument},
                                                        {"<number>", std::to_string(call.error)},
                                                        {"<text>", strerror(call.error)}});
            if (applies && call.injected && call.error != passedOver && !outcome.empty()) {
                return outcome;
            }
        }
        lost = call.op == READ ? NOT_FOUND : lost; // by the conversion
        before = call.place == INFO ? 0 : call.op;
    }
    return "true";
}

/** The last call of a kind; a failed one if there was none. */
Call lastCall(Op op, Place place) {
    const auto found = std::find_if(trace.rbegin(), trace.rend(),
                                    [&](const Call& call) { return call.op == op && call.place == place; });
    return found != trace.rend() ? *found : Call{op, "", place, "", "", false, false, ENOENT};
}

std::ptrdiff_t count(Op op, int where) {
    return std::count_if(trace.begin(), trace.end(),
                         [=](const Call& call) { return call.op == op && (call.place & where) != 0; });
}

/** A study whose system calls are noted. */
class NotedStudy : public Workplace {
protected:
    NotedStudy() {
        places = {{repository(), ROOT}, {study, STUDY}, {info, INFO}, {record, RECORD}, {list, LIST}};
        places.insert({{lock, LOCK}, {locks(), LOCK}});
        shown = [](struct dirent&) {};
        paused = [](long) {};
    }

    /** Works under a plan; returns the exception. */
    std::string noted(const Plan& wanted, const std::function<void()>& work) {
        places[record + "." + std::to_string(getpid())] = TEMPORARY;
        plan = wanted;
        pauses = 0;
        trace.clear();
        noting = true;
        std::string failure = thrown(work);
        noting = false;
        EXPECT_EQ(openFiles.size(), 0);
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
};

class Faults : public TestWithParam<Scenario>, protected NotedStudy {
protected:
    Faults() {
        ofCluster = scenario.cluster;
        for (int i = 0; i < 2; ++i) { // by the second call the library remembers a shared file system
            restore();
            EXPECT_EQ(call({}, scenario.mode), "true");
        }
        plain = trace;
    }

    void restore() {
        fs::remove_all(repository());
        fs::create_directory(repository());
        fs::remove(lock);
        for (const auto& [path, text] : {std::pair(record, scenario.record), {list, scenario.list}}) {
            if (!text.empty()) {
                Workplace::write(path, text);
            }
        }
        unsynced.clear();
    }

    /** Follows what a power cut could undo. A file system that cannot sync directories writes them at once. */
    void follow(const Call& call) {
        if (call.op == WRITE) {
            unsynced.insert(call.path);
        }
        if (call.op == FSYNC && (call.done || (call.error == EINVAL && call.place != TEMPORARY))) {
            unsynced.erase(call.path);
        }
        if (call.op == RENAME) {
            EXPECT_EQ(unsynced.count(call.path), 0) << "half a record";
        }
        if (call.done && (call.op == MKDIR || call.op == RENAME)) {
            unsynced.insert(fs::path(call.path).parent_path());
        }
        if (call.op == UNLINK && call.place == LIST) {
            EXPECT_THAT(unsynced, IsEmpty()) << "neither the list nor a record with its names";
        }
    }

    /** One modification under a plan. After "true", no power cut may lose the new record. */
    std::string call(const Plan& wanted, int32_t mode) {
        const std::string outcome = modify(wanted, mode);
        for (const Call& made : trace) {
            follow(made);
        }
        if (outcome == "true") {
            EXPECT_THAT(unsynced, IsEmpty());
        }
        return outcome;
    }

    /** And that the next call works. */
    void expectOldOrNewRecord() {
        EXPECT_THAT(std::pair(Workplace::read(record), Workplace::read(list)),
                    AnyOf(Pair(scenario.after, _), Pair(scenario.record, scenario.list)));
        fs::remove(lock); // by hand
        EXPECT_EQ(call({}, RECORD_MAY_EXIST), "true");
        EXPECT_EQ(Workplace::read(record), scenario.after);
    }

    /** One modification under a plan, and one after it. */
    void attempt(const Plan& fault) {
        const char* const ways[] = {"not", "once", "again and again", "and all later ones"};
        SCOPED_TRACE(Message() << plain[fault.at].name << " " << plain[fault.at].path << ", call " << fault.at << ", "
                               << ways[fault.how] << ", error " << fault.error);
        restore();
        const std::string outcome = call(fault, scenario.mode);
        EXPECT_EQ(outcome, expected(scenario.mode));
        const bool renamed = lastCall(RENAME, TEMPORARY).error == 0;
        EXPECT_EQ(Workplace::read(record), renamed ? scenario.after : scenario.record);
        EXPECT_FALSE(renamed && lastCall(OPEN, INFO).injected) << "known before the rename";
        EXPECT_EQ(fs::exists(lock), lastCall(UNLINK, LOCK).injected);
        EXPECT_EQ(fs::exists(lastCall(OPEN, TEMPORARY).path), lastCall(UNLINK, TEMPORARY).injected);
        if (outcome == "true") {
            EXPECT_TRUE(renamed);
            EXPECT_EQ(fs::exists(list), lastCall(UNLINK, LIST).injected);
        }
        expectOldOrNewRecord();
    }

    const Scenario& scenario = GetParam();
    std::set<std::string> unsynced; ///< files by their text, directories by the names in them
    std::vector<Call> plain;        ///< when all goes well
};

TEST_P(Faults, EveryCallFails) {
    for (size_t at = 0; at < plain.size(); ++at) {
        for (const int error : {EMFILE, ENOSPC, EIO, EACCES, EINTR, EDQUOT, EROFS, EINVAL, SHORT}) {
            attempt({Plan::ONCE, at, error});
            if (error != EINTR || (plain[at].op & (READ | WRITE)) == 0) { // these try for ever
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
    bool locked = false;
    for (size_t at = 0; at < plain.size(); ++at) {
        const Call& next = plain[at];
        SCOPED_TRACE(next.name + (" " + next.path));
        restore();
        EXPECT_EXIT(modify({Plan::KILL, at, 0}, scenario.mode), KilledBySignal(SIGKILL), "");
        std::for_each(plain.begin(), plain.begin() + at, [this](const Call& done) { follow(done); });
        expectOldOrNewRecord();
        locked = next.place == LOCK ? next.op != UNLINK : locked;
        const bool changes = (next.op & (OPEN | WRITE | FSYNC | RENAME | UNLINK | MKDIR)) != 0;
        EXPECT_TRUE(locked || next.place == LOCK || !changes);
        EXPECT_NE(next.argument, "inheritable");
    }
}

/** A study with a record on a file system that several hosts share. */
class Cluster : public Test, protected NotedStudy {
protected:
    Cluster() {
        ofCluster = true;
        for (int i = 0; i < 2; ++i) { // by the second call the library remembers the shared file system
            Workplace::write(record, HEAD + TAIL);
            EXPECT_EQ(modify({}, RECORD_MUST_EXIST), "true");
        }
        const auto read = std::find_if(trace.begin(), trace.end(), [](const Call& call) { return call.op == READ; });
        looks.assign(trace.begin(), read + 1);
    }

    std::vector<Call> looks; ///< of a modification up to the first read
    const std::string stale = "IO Exception: [116] Reading file failed: " + record + " Stale file handle";
};

constexpr int LOOKS = 7;           ///< pauses between looks that list
constexpr int SETTLED = LOOKS + 2; ///< and before two that do not
constexpr int REFUSED = LOOKS + 1; ///< the first of these has found nothing

void asOther(struct dirent& entry, bool ofRecord) {
    entry.d_ino += ofRecord;
    entry.d_type = DT_UNKNOWN;
}

/** What a host is shown of the information directory. */
const struct {
    const char* name;
    void (*show)(struct dirent& entry, bool ofRecord);
    int pauses;
    int alive = 0;    ///< until this pause the name leads to a file that the server does not have any more
    int replaced = 0; ///< at this pause
} LISTINGS[] = {
    {"another file, once", [](auto& entry, bool ofRecord) { entry.d_ino += ofRecord && count(OPENDIR, INFO) == 1; }, 1},
    {"another file, and the right one opens when the caches have expired", asOther, SETTLED, REFUSED},
    {"another file, and the right one never opens", asOther, REFUSED, SETTLED},
    {"another file, and the second open does not confirm the first", asOther, SETTLED, 0, SETTLED},
    {"no record", [](auto& entry, bool ofRecord) { entry.d_name[0] += ofRecord; }, SETTLED},
    {"other numbers", [](auto& entry, bool) { entry.d_ino += 9; }, 0},
    {"number 0", [](auto& entry, bool ofRecord) { entry.d_ino *= !ofRecord; }, 0},
    {"32 ones", [](auto& entry, bool ofRecord) { entry.d_ino |= -ofRecord & ~0U; }, 0},
    {"64 ones", [](auto& entry, bool ofRecord) { entry.d_ino |= -ino_t(ofRecord); }, 0},
};

TEST_F(Cluster, AWrongListingCostsNoChange) {
    const Plan dead = {Plan::SAME, looks.size() - 1, ESTALE};
    for (const auto& listing : LISTINGS) {
        SCOPED_TRACE(listing.name);
        Workplace::write(record, HEAD + TAIL);
        shown = [&](struct dirent& entry) {
            EXPECT_LE(pauses, LOOKS) << "listing would put a dead file into the cache";
            listing.show(entry, entry.d_name[0] == 's');
        };
        paused = [&](long seconds) {
            EXPECT_GE(seconds, pauses > LOOKS ? 3 : 0);
            plan = pauses == listing.alive ? Plan{} : plan;
            if (pauses == listing.replaced) {
                Workplace::write(root + "/new", HEAD + TAIL);
                fs::rename(root + "/new", record);
            }
        };
        const bool works = listing.pauses != REFUSED && listing.replaced == 0;
        EXPECT_EQ(modify(listing.alive > 0 ? dead : Plan{}, RECORD_MUST_EXIST), works ? "true" : stale);
        EXPECT_EQ(Workplace::read(record), works ? MODIFIED : HEAD + TAIL);
        EXPECT_EQ(pauses, listing.pauses);
    }
}

TEST_F(Cluster, ARecordThatIsListedOnlyAfterTheLoadIsNotReplaced) {
    fs::remove(record);
    shown = [](struct dirent& entry) {
        if (count(OPENDIR, INFO) > 1 && entry.d_name[1] == '.') {
            strcpy(entry.d_name, "storestate.rec");
        }
    };
    EXPECT_EQ(modify({}, RECORD_MAY_EXIST), stale);
    EXPECT_FALSE(fs::exists(record));
}

/** The plug-in may name another directory for a study that it makes ready for writing. */
TEST_F(Cluster, TheDirectoryWithTheNewRecordIsSynced) {
    const std::string other = root + "/1.2.3/.info";
    fs::create_directories(other);
    places[other] = INFO;
    noted({}, [&] {
        StoreState state("1.2.3", "");
        EXPECT_TRUE(state.load());
        setVariable("REPOSITORY_DICOM_DATA", root.c_str());
        EXPECT_TRUE(state.save());
    });
    EXPECT_EQ(lastCall(FSYNC, INFO).path, other);
}

TEST_F(Cluster, EachStepOfALookIsTriedAgain) {
    for (size_t at = 0; at < looks.size(); ++at) {
        const Call& call = looks[at];
        for (const int error : {ESTALE, ENOENT}) {
            SCOPED_TRACE(Message() << call.name << " " << call.path << ", call " << at << ", error " << error);
            const bool ofPlugin = call.op == STAT && call.place == STUDY && (at == 0 || looks[at - 1].op != STAT);
            const bool missing = call.op == OPENDIR && error == ENOENT;
            const bool step = (call.place & (INFO | RECORD)) != 0 && call.op != CLOSE;
            if (ofPlugin || step) {
                Workplace::write(record, HEAD + TAIL);
                EXPECT_EQ(modify({Plan::ONCE, at, error}, RECORD_MUST_EXIST), "true");
                EXPECT_EQ(Workplace::read(record), MODIFIED);
                EXPECT_EQ(count(REFRESH, ROOT), ofPlugin ? 1 : 0);
                EXPECT_EQ(count(READDIR, STUDY), missing ? 4 : 0) << "the directory above is listed to the end";
                EXPECT_EQ(pauses, ofPlugin || missing || call.op == REFRESH ? 0 : 1); // else a listing disagrees
            }
        }
    }
}

/** What is done in the information directory, and the answer, which is the same on every file system. */
TEST_F(Cluster, AnswersAsALocalFileSystemDoes) {
    const struct {
        const char* command;
        int32_t mode;
        std::string answer; ///< "false": before the lock is taken and anything is opened
    } cases[] = {
        {"ln -s ../elsewhere storestate.rec", RECORD_MUST_EXIST, "true"},
        {"ln -s /none storestate.rec", RECORD_MAY_EXIST, UNREAD},
        {"ln -s /none storestate.rec", RECORD_MUST_EXIST, "false"},
        {"mv ../elsewhere storestate.rec; ln -s /none fwds", RECORD_MUST_EXIST, "true"},
        {"mkfifo storestate.rec", RECORD_MUST_NOT_EXIST, "false"},
        {"mkdir storestate.rec", RECORD_MUST_NOT_EXIST, "false"},
        {"true", RECORD_MUST_EXIST, "false"},
        {"rmdir ../.info", RECORD_MUST_EXIST, "false"},
        {"rm -r ../../1.2.3", RECORD_MUST_EXIST, "false"},
    };
    for (const auto& [command, mode, answer] : cases) {
        for (const std::string system : {"local", "cluster", "cluster that lists no types"}) {
            SCOPED_TRACE(command + (", " + system));
            fs::remove_all(study);
            Workplace::write(study + "/elsewhere", TAIL);
            fs::create_directory(info);
            EXPECT_EQ(std::system(("cd " + info + " && " + command).c_str()), 0);
            ofCluster = system != "local";
            shown = [typed = system == "cluster"](struct dirent& entry) { entry.d_type *= typed; }; // or DT_UNKNOWN
            EXPECT_EQ(modify({}, mode), answer);
            EXPECT_EQ(count(OPEN, LOCK | RECORD | LIST) == 0, answer == "false");
            EXPECT_TRUE(ofCluster || count(OPENDIR, INFO) == 0) << "nothing is listed on a local file system";
            EXPECT_EQ(pauses, 0);
        }
    }
}

/** What a client has cached as missing, or sshfs does not find at once. */
TEST_F(Cluster, ALockIsLookedForTwice) {
    EXPECT_EQ(modify({Plan::ONCE, 0, EPERM}, RECORD_MAY_EXIST), "true");
    EXPECT_EQ(trace[0].place, LOCK);
    for (const bool own : {false, true}) {
        QXSemaphore semaphore("storestate_1.2.3", locks(), false);
        Workplace::write(lock, "");
        semaphore.locked = own;
        semaphore.forceUnlock = !own;
        noted({Plan::ONCE, 0, ENOENT}, [&] { semaphore.unlock(); });
        EXPECT_EQ(fs::exists(lock), own) << "no client caches that its own lock is missing";
        EXPECT_EQ(count(READDIR, LOCK), own ? 0 : 4) << "listed to the end";
    }
}

INSTANTIATE_TEST_SUITE_P(Calls, Faults, ValuesIn(SCENARIOS), [](const auto& info) { return info.param.name; });

} // namespace
