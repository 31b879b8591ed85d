/**
 * Whatever fails, whoever dies and whenever the power goes: a study has its old record or its new one, whole.
 *
 * What a killed process leaves is the lock, which somebody must give back, and its temporary file, which harms nobody.
 * An interrupted read or write is tried again without end, so EINTR for good is not tried with them.
 */
#include "Disk.h"
#include "jni/ModifyOptions.h"
#include "storestate/RecordFormat.h"
#include "support/QXException.h"
#include "support/Workplace.h"

#include <cstring>
#include <gtest/gtest.h>
#include <iostream>
#include <regex>
#include <sys/wait.h>

namespace {

namespace fs = std::filesystem;

constexpr int32_t ANY = 2; ///< no condition on the record's existence

const std::string PADDING = std::string(5000, '#') + "\n"; ///< what lies behind it takes a second read
const std::string HEAD = "Version=\"2\"\nOwnerDevice=\"PACS7\"\n", TAIL = "ForwardDevices=\"X Y\"\n";
const std::string MODIFIED = HEAD + "Folder=\"Main\"\nForwardDevices=\"X Y Z\"\n";
const std::string FIRST = "Version=\"1\"\nOwnerDevice=\"PACS1\"\nFolder=\"Main\"\nForwardDevices=\"Z WS1\"\n";
const std::string CONVERTED =
    "Version=\"1\"\nOwnerDevice=\"PACS1\"\nStageState=\"on\"\nArchiveDevice=\"@Archive-@TOP\"\n"
    "ForwardDevices=\"KEPT WS1 OLD1 OLD2\"\n";

/** As the native methods do it. Either gives the same record when it is called once more with ANY. */
bool convert(StoreState& state, int32_t) {
    state.load();
    return state.save();
}
bool modify(StoreState& state, int32_t mode) {
    if (!loadForModify(state, mode)) { return false; }
    applyModifyOption(state, "--folder", "Main");
    applyModifyOption(state, "--fwddevice", "Z");
    return state.save();
}

struct Scenario {
    const char* name;
    std::string record, list; ///< as found; empty: none
    std::string loaded;       ///< what load() makes of these
    std::string after;        ///< the record that the call leaves
    bool (*call)(StoreState&, int32_t);
    int32_t mode;
} const SCENARIOS[] = {
    {"Modify", HEAD + PADDING + TAIL, "", HEAD + TAIL, MODIFIED, modify, RECORD_MUST_EXIST},
    {"FirstSave", "", "", "", FIRST, modify, RECORD_MUST_NOT_EXIST},
    {"Convert", "StageState=\"on\"\n" + PADDING + "ForwardDevices=\"KEPT\"\n", "OLD1\n" + PADDING + "OLD2\n", CONVERTED,
     CONVERTED, convert, ANY},
};

void PrintTo(const Scenario& scenario, std::ostream* out) { *out << scenario.name; } // for the test's name

/** What each call is made to fail with. */
const std::map<std::string, std::vector<int>> ERRORS = {
    {"open", {EMFILE, ENOSPC, EIO, EACCES, ENFILE, EINTR, EDQUOT, EROFS, ENOMEM}},
    {"read", {EIO, EINTR, SHORT}},
    {"write", {ENOSPC, EIO, EINTR, EDQUOT, EFBIG, SHORT}},
    {"fsync", {EIO, ENOSPC, EDQUOT, EINTR, EROFS, EINVAL}},
    {"close", {EIO, EINTR, ENOSPC, EDQUOT}},
    {"rename", {ENOSPC, EIO, EACCES, EDQUOT, EROFS}},
    {"unlink", {EIO, EACCES, EPERM, EROFS}},
    {"mkdir", {ENOSPC, EIO, EACCES, EDQUOT, EMLINK, EROFS}},
    {"stat", {EIO, EACCES, ENOMEM}},
};

/**
 * What becomes of a failed call; no row, no harm. Marks stand for the call's error and its text (# and ~), path (@) and
 * target (%). A study or record that is not found may also be just what is wanted, or be found the next time.
 */
const struct {
    const char *names, *places, *outcome;
} ANSWERS[] = {
    {"open", "lock", "IO Exception: [#] Creating semaphore failed: storestate_1.2.3 [~]"},
    {"unlink", "lock", "IO Exception: [#] Releasing semaphore failed: storestate_1.2.3 [~]"},
    {"stat", "study record", "false"},
    {"stat", "study record", "Unknown Exception: [1] Record of study 1.2.3 exists but was not read."},
    {"stat", "study", "Unknown Exception: [1] Study 1.2.3 not found in repository."},
    {"stat mkdir", "study", "Unknown Exception: [1] Study 1.2.3 could not be created in repository."},
    {"open fsync", "repository", "Unknown Exception: [1] Study 1.2.3 could not be created in repository."},
    {"open", "record list", "IO Exception: [#] Opening file for reading failed: @ ~"},
    {"read", "record list", "IO Exception: [#] Reading file failed: @ ~"},
    {"mkdir", "info", "Unknown Exception: [1] Could not create info directory @ [#: ~]"},
    {"open fsync", "study info", "IO Exception: [#] Writing file failed: @ ~"},
    {"open", "temporary", "false"},
    {"write fsync close", "temporary", "IO Exception: [#] Writing file failed: @ ~"},
    {"rename", "temporary", "Unknown Exception: [1] Could not rename @ to % [#: ~]"},
};

/** Reading and writing go on where they stopped, and a directory that cannot be synced by its nature is no failure. */
bool isHarmless(const Call& call) {
    return call.name == "read" || call.name == "write" ? call.error == EINTR || call.error == 0
                                                       : call.error == EINVAL && call.place != "temporary";
}

/** The first failed call that does harm decides the outcome. */
bool isExplained(const std::string& outcome) {
    for (const Call& call : trace) {
        bool harmful = false;
        for (const auto& [names, places, answer] : ANSWERS) {
            const bool here =
                strstr(names, call.name.c_str()) != nullptr && strstr(places, call.place.c_str()) != nullptr;
            if (here && call.injected && !isHarmless(call)) {
                harmful = call.name != "stat";
                std::string text = std::regex_replace(answer, std::regex("#"), std::to_string(call.error));
                text = std::regex_replace(text, std::regex("~"), strerror(call.error));
                text = std::regex_replace(text, std::regex("@"), call.path);
                if (std::regex_replace(text, std::regex("%"), call.argument) == outcome) { return true; }
            }
        }
        if (harmful) { return false; }
    }
    return outcome == "true";
}

/** The last call of a kind; one that failed of itself when there was none. */
Call lastCall(const char* name, const char* place) {
    const auto found = std::find_if(trace.rbegin(), trace.rend(),
                                    [&](const Call& call) { return call.name == name && call.place == place; });
    return found != trace.rend() ? *found : Call{name, place, "", "", ENOENT, false};
}

class Faults : public testing::TestWithParam<Scenario> {
protected:
    Faults() {
        places = {
            {here.repository(), "repository"}, {study, "study"}, {info, "info"}, {record, "record"}, {list, "list"}};
        places[lock] = "lock";
        start = {{here.repository(), "/"}};
        if (!scenario.record.empty()) { start.insert({{study, "/"}, {info, "/"}, {record, scenario.record}}); }
        if (!scenario.list.empty()) { start[list] = scenario.list; }
        restore(start);
        EXPECT_EQ(call({}, scenario.mode), "true");
        plain = trace;
    }

    void restore(const Disk::State& state) {
        fs::remove_all(here.repository());
        fs::remove(lock);
        for (const auto& [path, text] : state) {
            text == "/" ? void(fs::create_directory(path)) : Workplace::write(path, text);
        }
    }

    /** Uses a record object under a plan; "true", "false", or the exception. Devices stand in for the database's. */
    template <class Use>
    static std::string run(const Plan& wanted, Use use) {
        std::string outcome;
        plan = wanted;
        trace.clear();
        noting = true;
        try {
            StoreState state("1.2.3", "");
            state.autoForwardDevices.push_back(new StoreState::StoreDevice("PACS1", "C"));
            state.autoForwardDevices.push_back(new StoreState::StoreDevice("WS1", "F"));
            outcome = use(state) ? "true" : "false";
        } catch (const QXException& failure) { failure.toString(outcome); }
        noting = false;
        return outcome;
    }
    std::string call(const Plan& wanted, int32_t mode) {
        places[temporary()] = "temporary";
        return run(wanted, [&](StoreState& state) { return scenario.call(state, mode); });
    }
    std::string load() {
        std::string text;
        run({}, [&](StoreState& state) { return state.load() && !(text = formatRecord(state)).empty(); });
        return text;
    }

    void expectWhole() {
        const std::string now = Workplace::read(record);
        const std::string devices = now + Workplace::read(list);
        EXPECT_EQ(now, lastCall("rename", "temporary").error == 0 ? scenario.after : scenario.record);
        for (const char* name : {"KEPT", "OLD1", "OLD2"}) {
            EXPECT_TRUE(scenario.list.empty() || devices.find(name) != devices.npos) << name;
        }
    }

    /** Has the noted calls change the disk. Once they have answered "true", no power cut takes the new record away. */
    void follow(Disk& disk, const std::string& outcome) {
        for (const Call& call : trace) { disk.apply(call); }
        for (const Disk::State& state : outcome == "true" ? disk.states() : std::set<Disk::State>()) {
            const auto found = state.find(record);
            EXPECT_TRUE(found != state.end() && found->second == scenario.after);
            ++crashStates;
        }
    }

    void expectNextCall(Disk& disk) {
        fs::remove(lock); // given back by hand
        const std::string outcome = call({}, ANY);
        EXPECT_EQ(outcome, "true");
        EXPECT_EQ(Workplace::read(record), scenario.after);
        follow(disk, outcome);
    }

    std::string temporary() const { return record + "." + std::to_string(getpid()); }

    void report(const std::string& what) {
        std::cout << scenario.name << ": " << plain.size() << " calls, " << what << ", " << crashStates
                  << " crash states\n";
    }

    const Scenario& scenario = GetParam();
    Workplace here;
    const std::string study = here.repository() + "/1.2.3", info = study + "/.info", record = here.record("1.2.3"),
                      list = here.legacyList("1.2.3"), lock = here.lockFile("1.2.3");
    Disk::State start;
    std::vector<Call> plain; ///< when all goes well
    size_t crashStates = 0;
};

TEST_P(Faults, EveryCallFails) {
    size_t runs = 0;
    const auto attempt = [&](const Plan& fault) {
        restore(start);
        const std::string outcome = call(fault, scenario.mode);
        SCOPED_TRACE(testing::Message() << plain[fault.at].name << " " << plain[fault.at].place << ", call " << fault.at
                                        << ", error " << fault.error << ", way " << fault.how << ": " << outcome);
        ++runs;
        EXPECT_TRUE(isExplained(outcome));
        expectWhole();
        EXPECT_TRUE(openFiles.empty());
        EXPECT_TRUE(outcome != "true" || lastCall("rename", "temporary").error == 0);
        EXPECT_EQ(fs::exists(lock), lastCall("unlink", "lock").injected);
        EXPECT_EQ(fs::exists(temporary()), lastCall("unlink", "temporary").injected);
        EXPECT_TRUE(outcome != "true" || fs::exists(list) == lastCall("unlink", "list").injected);
        Disk disk(start);
        follow(disk, outcome);
        expectNextCall(disk);
    };
    for (size_t at = 0; at < plain.size(); ++at) {
        const std::string name = plain[at].name;
        for (const int error : ERRORS.at(name)) {
            attempt({Plan::ONCE, at, error});
            if (error != EINTR || (name != "read" && name != "write")) { attempt({Plan::SAME, at, error}); }
        }
        attempt({Plan::ALL, at, ERRORS.at(name)[1]}); // not that of the later ones
    }
    report(std::to_string(runs) + " runs with faults");
}

TEST_P(Faults, KilledAtEveryCall) {
    for (size_t at = 0; at < plain.size(); ++at) {
        for (const Plan::How how : {Plan::KILL_BEFORE, Plan::KILL_AFTER}) {
            SCOPED_TRACE(testing::Message()
                         << plain[at].name << " " << plain[at].place << ", call " << at << ", way " << how);
            restore(start);
            const pid_t child = fork();
            if (child == 0) {
                call({how, at, 0}, scenario.mode);
                _exit(0);
            }
            int status = 0;
            ASSERT_EQ(waitpid(child, &status, 0), child);
            EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
            trace = plain; // as far as the process got, with a temporary file of its own
            trace.resize(how == Plan::KILL_AFTER ? at + 1 : at);
            for (Call& call : trace) { call.path += call.place == "temporary" ? "0" : ""; }
            expectWhole();
            Disk disk(start);
            follow(disk, "killed");
            expectNextCall(disk);
        }
    }
    report(std::to_string(2 * plain.size()) + " kills");
}

TEST_P(Faults, PowerIsCut) {
    Disk ended(start);
    follow(ended, "true");
    Disk disk(start);
    std::set<Disk::State> known;
    bool locked = false;
    for (const Call& call : plain) {
        locked = call.place == "lock" ? call.name != "unlink" : locked;
        EXPECT_TRUE(locked || call.name == "stat" || call.place == "lock") << call.name << " " << call.path;
        disk.apply(call);
        for (const Disk::State& state : disk.states()) {
            ++crashStates;
            if (known.insert(state).second) {
                restore(state);
                const std::string now = Workplace::read(record);
                EXPECT_TRUE(now == scenario.record || now == scenario.after) << call.name << " " << call.path;
                EXPECT_EQ(load(), now == scenario.record ? scenario.loaded : scenario.after);
                Disk restarted(state);
                expectNextCall(restarted);
            }
        }
    }
    report(std::to_string(known.size()) + " different states of the disk");
}

INSTANTIATE_TEST_SUITE_P(Calls, Faults, testing::ValuesIn(SCENARIOS),
                         [](const auto& scenario) { return std::string(scenario.param.name); });

} // namespace
