#include "storestate/DurableFile.h"
#include "storestate/ModifyOptions.h"
#include "support/Testing.h"

#include <csignal>
#include <functional>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace std::filesystem;
using namespace storestate;

class Store : public ::testing::Test {
protected:
    ~Store() override { unlink(snapshotPath().c_str()); }
    bool locked() const { return exists(place.lockFile("S")); }

    Workplace place;
    const std::string info = place.info("S"), record = place.record("S"), list = place.legacyList("S");
};

TEST_F(Store, LockIsHeldFromLoadToSave) {
    umask(0);
    {
        StoreState state("S", "");
        EXPECT_FALSE(state.load() || state.exists() || state.remove()) << "unknown to the repository";
        EXPECT_EQ(thrown([&] { state.convert(); }), "Unknown Exception: [1] Study S not found in repository.");
        EXPECT_TRUE(state.version == 0 && status(place.lockFile("S")).permissions() == perms(0660));
        state.release();
        EXPECT_FALSE(locked());
        EXPECT_TRUE(state.save() && state.exists());
    }
    EXPECT_TRUE(StoreState("S", "").save()) << "replaces what it never tried to load";
    StoreState again("new", "");
    EXPECT_TRUE(!again.load() && again.save() && again.save()) << "its own record is in nobody's way";
    EXPECT_EQ(status(info).permissions(), perms(0775));
    EXPECT_EQ(status(place.repository() + "/S").permissions(), perms(0775));
    EXPECT_EQ(status(record).permissions(), perms(0666));
    Workplace::write(place.lockFile("S"), "");
    EXPECT_TRUE(StoreState("S", place.root).load()) << "another lock directory";
    StoreState state("S", "");
    state.useLock = false;
    EXPECT_TRUE(state.load() && state.save());
    state.release();
    EXPECT_TRUE(state.remove() && errno == 0) << "what the plug-in left there is gone";
    EXPECT_TRUE(!state.remove() && errno == ENOENT && locked()) << "the lock is the caller's";
}

TEST_F(Store, FailuresLoseNothingAndSayWhy) { // those of system calls: see faults/
    const auto set = [](const char* name, const std::string& value) { setenv(name, value.c_str(), 1); };
    const auto losePlugin = [] { setenv("REPOSITORY_HANDLER_HOME", "/none", 1); };
    const std::string query = "Error executing query: select ID, TYPE from ",
                      where = " where SERVICE='AFwd' and ID=DEVICE";
    const struct {
        std::string failure;
        std::function<void()> beforeLoad, beforeSave = [] {};
    } cases[] = {
        {"Missing environment: REPOSITORY_DICOM_DATA", [] { unsetenv("REPOSITORY_DICOM_DATA"); }},
        {"Error connecting to MySQL", [&] { set("MYSQL_UNIX_PORT", "/none"), unsetenv("TARGETTBL"); }},
        {"Missing environment variables:  TARGETTBL, DEVSERVTBL", [] { unsetenv("DEVSERVTBL"); }},
        {"Missing environment variables:  TARGETTBL, DEVSERVTBL", [] { unsetenv("TARGETTBL"); }},
        {query + "Nothing, DeviceServices" + where, [&] { set("TARGETTBL", "Nothing"); }},
        {query + "archive.Targets, DeviceServices" + where, [&] { set("TARGETTBL", "archive.Targets"); }},
        {query + "Targets, DeviceServices " + where, [&] { set("DEVSERVTBL", "DeviceServices "); }},
        {"Record of study S cannot carry ForwardDevices=\"B\"\".", [&] { Workplace::write(list, "A\nB\"\n"); }},
        {"Record of study S cannot carry ForwardDevices=\"\".", [&] { Workplace::write(list, std::string(2, '\0')); }},
        {"Record of study S exists but was not read.", losePlugin, [&] { place.setEnvironment(); }},
        {"Study S could not be created in repository.", [] {}, losePlugin},
    };
    const std::string socket = getenv("MYSQL_UNIX_PORT");
    for (const auto& [failure, beforeLoad, beforeSave] : cases) {
        Workplace::write(record, "ForwardDevices=\"E\"\n");
        Workplace::write(list, "A\n");
        beforeLoad();
        const std::string legacy = Workplace::read(list);
        const std::string actual = thrown([&, prepare = beforeSave] {
            StoreState state("S", "");
            state.load();
            prepare();
            state.save();
        });
        EXPECT_EQ(actual, "Unknown Exception: [1] " + failure);
        EXPECT_EQ(Workplace::read(record) + Workplace::read(list), "ForwardDevices=\"E\"\n" + legacy) << failure;
        EXPECT_EQ(std::distance(directory_iterator(info), {}), 2) << failure;
        EXPECT_FALSE(locked()) << failure;
        place.setEnvironment();
        set("MYSQL_UNIX_PORT", socket);
        set("TARGETTBL", "Targets");
        set("DEVSERVTBL", "DeviceServices");
    }
}

TEST_F(Store, FailedSystemCallsAreNamed) { // that they do no harm: see faults/
    setenv("REPOSITORY_HANDLER_HOME", TEST_PLUGINS "/recording", 1);
    setenv("RECORDED_CALLS", "/dev/null", 1);
    signal(SIGXFSZ, SIG_IGN);
    const auto failure = [&](const char* study, rlim_t writable) {
        const rlimit limit = {writable, RLIM_INFINITY}, none = {RLIM_INFINITY, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &limit);
        StoreState state(study, "");
        state.version = 1;
        const std::string text = thrown([&] { EXPECT_EQ(state.save(), study == std::string("fine")); });
        setrlimit(RLIMIT_FSIZE, &none);
        return expand(text, {{"." + std::to_string(getpid()), ".PID"}, {place.repository(), "R"}});
    };
    const auto loading = [&](const char* study) {
        return expand(thrown([&] { StoreState(study, "").load(); }), {{place.repository(), "R"}});
    };
    for (const char* study : {"fine", "loop"}) { create_directories(place.info(study)); }
    Workplace::write(place.repository() + "/file", "");
    Workplace::write(place.record("directory") + "/file", "");
    create_symlink(place.record("loop"), place.record("loop"));
    EXPECT_EQ(failure("fine", RLIM_INFINITY), "");
    EXPECT_EQ(failure("fine", 5),
              "IO Exception: [27] Writing file failed: R/fine/.info/storestate.rec.PID File too large");
    EXPECT_EQ(failure("file", RLIM_INFINITY),
              "Unknown Exception: [1] Could not create info directory R/file/.info [20: Not a directory]");
    EXPECT_EQ(failure("directory", RLIM_INFINITY),
              "Unknown Exception: [1] Could not rename R/directory/.info/storestate.rec.PID to "
              "R/directory/.info/storestate.rec [21: Is a directory]");
    EXPECT_EQ(loading("directory"),
              "IO Exception: [21] Reading file failed: R/directory/.info/storestate.rec Is a directory");
    EXPECT_EQ(loading("loop"), "IO Exception: [40] Opening file for reading failed: R/loop/.info/storestate.rec "
                               "Too many levels of symbolic links");
}

TEST_F(Store, WhatComesBetweenAnEmptyLoadAndTheSaveIsNotOverwritten) {
    const std::string unread = "Unknown Exception: [1] Record of study S exists but was not read.";
    const struct {
        const char* name;
        std::function<void()> come;
        std::string outcome; // of the save; a failure's beginning
    } cases[] = {
        {"a record", [&] { Workplace::write(record, "Version=\"1\"\n"); }, unread},
        {"a link to what is away", [&] { create_directories(info), create_symlink("/none", record); }, unread},
        {"a way that cannot be looked at",
         [&] { create_directory(path(info).parent_path()), create_symlink(info, info); }, unread},
        {"a directory", [&] { create_directories(record); }, "Unknown Exception: [1] Could not rename "},
        {"a file for the information directory", [&] { Workplace::write(info, ""); }, "false"},
        {"nothing", [] {}, "true"},
    };
    for (const auto& [name, come, outcome] : cases) {
        StoreState state("S", "");
        EXPECT_FALSE(state.load()) << name;
        come();
        std::string actual;
        const std::string failure = thrown([&] { actual = state.save() ? "true" : "false"; });
        EXPECT_EQ((failure + actual).substr(0, outcome.size()), outcome) << name;
        remove_all(path(info).parent_path());
    }
}

TEST_F(Store, RootIsRequiredBeforeAnythingElse) {
    setenv("LOCK_VAR", "/none", 1);
    setenv("REPOSITORY_DICOM_DATA", "", 1);
    StoreState state("S", "");
    for (const auto call : {&StoreState::exists, &StoreState::remove, &StoreState::load, &StoreState::save}) {
        EXPECT_EQ(thrown([&] { (state.*call)(); }),
                  "Unknown Exception: [1] Missing environment: REPOSITORY_DICOM_DATA");
    }
    EXPECT_EQ(state.version, 0);
}

TEST_F(Store, WhatLiesAroundDoesNoHarm) {
    Workplace::write(record, "Version=\"0\"\n");
    Workplace::write(list, "A\n");
    Workplace::write(record + "." + std::to_string(getpid()), std::string(500, 'x'));
    StoreState state("S", "");
    EXPECT_TRUE(state.load() && state.save() && state.forwardDevices.Contains("A"));
    EXPECT_EQ(Workplace::read(record).find('x'), std::string::npos) << "a temporary file of a process that died";
    Workplace::write(list, "B\n");
    EXPECT_TRUE(state.save() && exists(list)) << "not the list that was taken in";

    const int errors = dup(STDERR_FILENO);
    close(STDERR_FILENO);
    TemporaryFile file((place.root + "/file").c_str());
    EXPECT_TRUE(file.open());
    EXPECT_NE(write(STDERR_FILENO, "x", 1), 1) << "diagnostics would go into the file";
    file.write("text");
    dup2(errors, STDERR_FILENO);
    EXPECT_EQ(Workplace::read(place.root + "/file"), "text");
}

TEST_F(Store, ExistenceIsCheckedBeforeAndAfterTheLock) { // that it may be as wanted: see java/
    setenv("REPOSITORY_HANDLER_HOME", TEST_PLUGINS "/recording", 1);
    setenv("RECORDED_CALLS", "/dev/null", 1);
    const auto lockTaken = [&](const char* event, bool exists, int32_t mode) { // the event comes after the first check
        remove_all(info);
        for (const char* file : {"wait", event, exists ? "storestate.rec" : "none"}) {
            Workplace::write(info + "/" + file, "Version=\"1\"\n");
        }
        StoreState state("S", "");
        EXPECT_FALSE(loadForModify(state, mode)) << event << exists;
        return state.semaphore.locked;
    };
    EXPECT_FALSE(lockTaken("nothing", true, RECORD_MUST_NOT_EXIST));
    EXPECT_FALSE(lockTaken("nothing", false, RECORD_MUST_EXIST));
    EXPECT_TRUE(lockTaken("comes", false, RECORD_MUST_NOT_EXIST));
    EXPECT_TRUE(lockTaken("goes", true, RECORD_MUST_EXIST));
}
