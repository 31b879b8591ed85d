// Whatever fails, whoever dies and whenever the power goes: a study has its old record or its new one, whole. A killed
// process leaves its lock, which somebody must give back, and its temporary file, which harms nobody.
#include "Disk.h"
#include "storestate/ModifyOptions.h"
#include "support/QXException.h"
#include "support/Workplace.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <sys/wait.h>

namespace {

namespace fs = std::filesystem;

constexpr int32_t ANY = 2; ///< no condition on the record's existence

const std::string PADDING = std::string(5000, '#') + "\n"; ///< what lies behind it takes a second read
const std::string HEAD = "Version=\"2\"\nOwnerDevice=\"PACS7\"\n", TAIL = "ForwardDevices=\"X Y\"\n";
const std::string MODIFIED = HEAD + "Folder=\"Main\"\nForwardDevices=\"X Y Z\"\n";
const std::string NEW = "Version=\"1\"\nOwnerDevice=\"PACS1\"\n",
                  FIRST = NEW + "Folder=\"Main\"\nForwardDevices=\"Z WS1\"\n";
const std::string CONVERTED = NEW + "ArchiveDevice=\"@Archive-@TOP\"\nForwardDevices=\"X Y WS1 OLD1 OLD2\"\n";

/** As the native methods do it. Either gives the same record when it is called once more with ANY. */
bool convert(StoreState& state, int32_t) { return state.load(), state.save(); }
bool modify(StoreState& state, int32_t mode) {
    if (!loadForModify(state, mode)) { return false; }
    applyModifyOption(state, "--folder", "Main");
    applyModifyOption(state, "--fwddevice", "Z");
    return state.save();
}

struct Scenario {
    const char* name;
    std::string record, list, after; ///< as found, empty: none; the record that the call leaves
    bool (*call)(StoreState&, int32_t);
    int32_t mode;
} const SCENARIOS[] = {
    {"Modify", HEAD + PADDING + TAIL, "", MODIFIED, modify, RECORD_MUST_EXIST},
    {"FirstSave", "", "", FIRST, modify, RECORD_MUST_NOT_EXIST},
    {"Convert", PADDING + TAIL, "OLD1\n" + PADDING + "OLD2\n", CONVERTED, convert, ANY},
};
void PrintTo(const Scenario& scenario, std::ostream* out) { *out << scenario.name; } // for the test's name

constexpr int ERRORS[] = {EMFILE, ENOSPC, EIO, EACCES, EINTR, EDQUOT, EROFS, EINVAL, SHORT};

bool isTransfer(const Call& call) { return call.name == "read" || call.name == "write"; }

/** Transfers go on where they stopped; some directories cannot be synced; what else is closed or deleted may stay. */
bool isHarmless(const Call& call) {
    return !call.injected || (isTransfer(call) && call.error == EINTR) ||
           (call.name == "fsync" && call.error == EINVAL && call.place != "temporary") ||
           (call.name == "close" && call.place != "temporary") || (call.name == "unlink" && call.place != "lock");
}

/** Whether this is what becomes of a failed call: an exception with its number, unless it is the plug-in's own call. */
bool follows(const std::string& outcome, const Call& call) {
    const auto says = [&](const std::string& part) { return outcome.find(part) != outcome.npos; };
    const bool looking = call.name == "stat" || call.name == "lstat";
    if (looking || call.place == "root" || (call.name == "mkdir" && call.place == "study")) {
        return says("tudy 1.2.3 ") || (looking && outcome == "false"); // not found, not created, or not read
    }
    if (call.name == "open" && call.place == "temporary") { return outcome == "false"; }
    return says("[" + std::to_string(call.error)) && says(strerror(call.error)) &&
           says(call.place == "lock" ? "semaphore failed: storestate_1.2.3" : call.path);
}

/** The first failed call that does harm decides. A study that is not found may be wanted, or be found the next time. */
bool isExplained(const std::string& outcome) {
    for (const Call& call : trace) {
        if (!isHarmless(call) && follows(outcome, call)) { return true; }
        if (!isHarmless(call) && call.name != "stat") { return false; }
    }
    return outcome == "true";
}

/** The last call of a kind; one that failed of itself when there was none. */
Call lastCall(const char* name, const char* place) {
    const auto found = std::find_if(trace.rbegin(), trace.rend(),
                                    [&](const Call& call) { return call.name == name && call.place == place; });
    return found != trace.rend() ? *found : Call{name, place, "", "", false, ENOENT};
}

class Faults : public testing::TestWithParam<Scenario> {
protected:
    Faults() {
        places = {{root, "root"}, {study, "study"}, {info, "info"}, {record, "record"}, {list, "list"}, {lock, "lock"}};
        if (!scenario.record.empty()) { start.insert({{study, "/"}, {info, "/"}, {record, scenario.record}}); }
        if (!scenario.list.empty()) { start[list] = scenario.list; }
        restore(start);
        EXPECT_EQ(call({}, scenario.mode), "true");
        plain = trace;
    }

    void restore(const Disk::State& state) {
        fs::remove_all(root);
        fs::remove(lock);
        for (const auto& [path, text] : state) {
            text == "/" ? void(fs::create_directory(path)) : Workplace::write(path, text);
        }
        disk = Disk(state);
    }

    /** The scenario's call: "true", after which no power cut takes the new record away, "false", or the exception. */
    std::string call(const Plan& wanted, int32_t mode) {
        std::string outcome;
        places[temporary()] = "temporary";
        plan = wanted;
        trace.clear();
        noting = true;
        try {
            StoreState state("1.2.3", ""); // with devices that stand in for the database's
            state.autoForwardDevices.push_back(new StoreState::StoreDevice("PACS1", "C"));
            state.autoForwardDevices.push_back(new StoreState::StoreDevice("WS1", "F"));
            outcome = scenario.call(state, mode) ? "true" : "false";
        } catch (const QXException& failure) { failure.toString(outcome); }
        noting = false;
        for (const Call& made : trace) { disk.apply(made); }
        for (Disk::State state : disk.states()) { EXPECT_TRUE(outcome != "true" || state[record] == scenario.after); }
        return outcome;
    }

    /** Has it made by another process, which the plan kills. */
    std::string kill(const Plan& wanted) {
        const pid_t child = fork();
        if (child == 0) { _exit(call(wanted, scenario.mode) == "true"); }
        int status = 0;
        EXPECT_TRUE(waitpid(child, &status, 0) == child && WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
        trace.assign(plain.data(), plain.data() + wanted.at); // as far as the process got
        for (const Call& made : trace) { disk.apply(made); }
        return "killed";
    }

    void expectNextCall() {
        fs::remove(lock); // given back by hand
        EXPECT_EQ(call({}, ANY), "true");
        EXPECT_EQ(Workplace::read(record), scenario.after);
    }

    /** One call under a plan, and one after it. */
    void attempt(const Plan& fault) {
        SCOPED_TRACE(testing::Message() << plain[fault.at].name << " " << plain[fault.at].place << ", call " << fault.at
                                        << ", error " << fault.error << ", way " << fault.how);
        restore(start);
        const std::string outcome = fault.error == 0 ? kill(fault) : call(fault, scenario.mode);
        const bool renamed = lastCall("rename", "temporary").error == 0;
        EXPECT_EQ(Workplace::read(record), renamed ? scenario.after : scenario.record);
        EXPECT_TRUE(renamed || Workplace::read(list) == scenario.list); // no device is in neither
        EXPECT_FALSE(renamed && lastCall("open", "info").injected) << "known before the rename";
        if (fault.error != 0) {
            EXPECT_TRUE(isExplained(outcome) && openFiles.empty()) << outcome;
            EXPECT_EQ(fs::exists(lock), lastCall("unlink", "lock").injected);
            EXPECT_EQ(fs::exists(temporary()), lastCall("unlink", "temporary").injected);
            EXPECT_TRUE(outcome != "true" || (renamed && fs::exists(list) == lastCall("unlink", "list").injected));
        }
        expectNextCall();
    }

    std::string temporary() const { return record + "." + std::to_string(getpid()); }

    const Scenario& scenario = GetParam();
    Workplace here;
    const std::string root = here.repository(), study = root + "/1.2.3", info = study + "/.info",
                      record = here.record("1.2.3"), list = here.legacyList("1.2.3"), lock = here.lockFile("1.2.3");
    Disk::State start = {{root, "/"}};
    Disk disk{start};
    std::vector<Call> plain; ///< when all goes well
};

TEST_P(Faults, EveryCallFails) {
    for (size_t at = 0; at < plain.size(); ++at) {
        for (const int error : ERRORS) {
            attempt({Plan::ONCE, at, error});
            if (error != EINTR || !isTransfer(plain[at])) { attempt({Plan::SAME, at, error}); } // or it tries for ever
        }
        attempt({Plan::ALL, at, ENOSPC}); // not the error of the later ones
    }
}

TEST_P(Faults, KilledAtEveryCall) {
    for (size_t at = 0; at < plain.size(); ++at) { attempt({Plan::KILL, at, 0}); }
}

TEST_P(Faults, PowerIsCut) {
    Disk cut(start);
    std::set<Disk::State> known;
    bool locked = false;
    for (const Call& call : plain) {
        locked = call.place == "lock" ? call.name != "unlink" : locked;
        EXPECT_TRUE(locked || call.name == "stat" || call.place == "lock") << call.name << " " << call.path;
        cut.apply(call);
        for (const Disk::State& state : cut.states()) {
            if (!known.insert(state).second) { continue; }
            restore(state);
            const std::string now = Workplace::read(record);
            EXPECT_TRUE(now == scenario.record || now == scenario.after) << call.name << " " << call.path;
            expectNextCall(); // which loads it
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Calls, Faults, testing::ValuesIn(SCENARIOS), testing::PrintToStringParamName());

} // namespace
