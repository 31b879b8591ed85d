#include "storestate/DurableFile.h"
#include "storestate/ModifyOptions.h"
#include "support/Testing.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>

using namespace std::filesystem;
using namespace storestate;

// On 32 bits, too: with shorter ones a record with a late date or a high number would be missed.
static_assert(std::min({sizeof(stat::st_size), sizeof(stat::st_ino), sizeof(stat::st_mtime)}) == 8);

class Store : public ::testing::Test {
protected:
    ~Store() override { unlink(snapshotPath().c_str()); }

    static perms mode(const std::string& file) { return status(file).permissions(); }

    Workplace place;
    const std::string study = place.repository() + "/S", info = place.info("S"), record = place.record("S"),
                      list = place.legacyList("S"), lock = place.lockFile("S");
    StoreState state{"S", ""};
};

TEST_F(Store, NewRecordIsMadeUnderTheLockThatLoadTakes) {
    umask(0);
    EXPECT_FALSE(state.load()) << "unknown to the repository";
    EXPECT_EQ(mode(lock), perms(0660));
    EXPECT_EQ(thrown([&] { state.convert(); }), "Unknown Exception: [1] Study S not found in repository.");
    EXPECT_EQ(state.version, 0);
    state.release();
    EXPECT_FALSE(exists(lock));
    EXPECT_FALSE(state.exists());
    EXPECT_TRUE(state.save());
    EXPECT_TRUE(state.exists());
    for (const std::string& directory : {study, info}) {
        EXPECT_EQ(mode(directory), perms(0775)) << directory;
    }
    EXPECT_EQ(mode(record), perms(0666));
    EXPECT_TRUE(state.save()) << "its own record is in nobody's way";
    EXPECT_TRUE(StoreState("S", "").save()) << "replaces what it never tried to load";
}

TEST_F(Store, WhatIsSomebodyElsesIsLeftAlone) {
    Workplace::write(record, "Version=\"0\"\n"), Workplace::write(list, "A\n"), Workplace::write(lock, "");
    EXPECT_TRUE(StoreState("S", place.root).load()) << "another lock directory";
    state.useLock = false;
    EXPECT_TRUE(state.load());
    EXPECT_TRUE(state.save());
    EXPECT_TRUE(state.forwardDevices.Contains("A"));
    Workplace::write(list, "B\n");
    EXPECT_TRUE(state.save());
    EXPECT_TRUE(exists(list)) << "not the list that was taken in";
    state.release();
    EXPECT_TRUE(state.remove());
    EXPECT_EQ(errno, 0) << "what the plug-in left there is gone";
    EXPECT_FALSE(state.remove());
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(StoreState("unknown", "").remove());
    EXPECT_TRUE(exists(lock));
}

TEST_F(Store, BrokenEnvironmentLosesNothingAndIsNamed) {
    const std::string tables = "Missing environment variables:  TARGETTBL, DEVSERVTBL",
                      query = "Error executing query: select ID, TYPE from ",
                      where = " where SERVICE='AFwd' and ID=DEVICE";
    const struct {
        const char *variable, *value; ///< null: unset
        std::string failure;
    } cases[] = {
        {"REPOSITORY_DICOM_DATA", nullptr, "Missing environment: REPOSITORY_DICOM_DATA"},
        {"MYSQL_UNIX_PORT", "/none", "Error connecting to MySQL"},
        {"TARGETTBL", nullptr, tables},
        {"DEVSERVTBL", nullptr, tables},
        {"TARGETTBL", "Nothing", query + "Nothing, DeviceServices" + where},
        {"TARGETTBL", "archive.Targets", query + "archive.Targets, DeviceServices" + where},
        {"DEVSERVTBL", "DeviceServices ", query + "Targets, DeviceServices " + where},
    };
    Workplace::write(record, "ForwardDevices=\"E\"\n"), Workplace::write(list, "A\n");
    for (const auto& [variable, value, failure] : cases) {
        const std::string good = serverSetting(variable);
        setVariable(variable, value);
        const std::string actual = thrown([] { StoreState("S", "").load(); });
        setVariable(variable, good.c_str());
        EXPECT_EQ(actual, "Unknown Exception: [1] " + failure);
        EXPECT_EQ(Workplace::read(record) + Workplace::read(list), "ForwardDevices=\"E\"\nA\n") << failure;
        EXPECT_FALSE(exists(lock)) << failure;
    }
}

TEST_F(Store, RootIsRequiredBeforeAnythingElse) {
    setVariable("REPOSITORY_DICOM_DATA", "");
    StoreState rootless("S", "/none");
    for (const auto call : {&StoreState::exists, &StoreState::remove, &StoreState::load, &StoreState::save}) {
        const std::string failure = thrown([&] { (rootless.*call)(); });
        EXPECT_EQ(failure, "Unknown Exception: [1] Missing environment: REPOSITORY_DICOM_DATA");
    }
    EXPECT_EQ(rootless.version, 0);
}

TEST_F(Store, WhatComesBetweenAnEmptyLoadAndTheSaveIsNotOverwritten) {
    const std::string unread = "Unknown Exception: [1] Record of study S exists but was not read.",
                      temporary = record + "." + std::to_string(getpid()), renaming = temporary + " to " + record,
                      directory = "Unknown Exception: [1] Could not rename " + renaming + " [21: Is a directory]";
    const struct {
        const char* name;
        std::function<void()> come;
        std::string outcome; ///< of the save
    } cases[] = {
        {"a record", [&] { Workplace::write(record, "Version=\"1\"\n"); }, unread},
        {"a link to what is away", [&] { create_directories(info), create_symlink("/none", record); }, unread},
        {"a way that cannot be looked at", [&] { create_directory(study), create_symlink(info, info); }, unread},
        {"a directory", [&] { create_directories(record); }, directory},
        {"a file for the information directory", [&] { Workplace::write(info, ""); }, "false"},
        {"a link for the new file", [&] { create_directories(info), create_symlink(list, temporary); }, "false"},
        {"what a dead process has left", [&] { Workplace::write(temporary, std::string(500, 'x')); }, "true"},
    };
    for (const auto& [name, come, outcome] : cases) {
        StoreState late("S", "");
        EXPECT_FALSE(late.load()) << name;
        come();
        bool saved = false;
        const std::string failure = thrown([&] { saved = late.save(); });
        SCOPED_TRACE(name);
        EXPECT_EQ(failure.empty() ? saved ? "true" : "false" : failure, outcome);
        if (saved) {
            EXPECT_EQ(Workplace::read(record).find('x'), std::string::npos);
        }
        EXPECT_EQ(Workplace::read(list), "");
        remove_all(study);
    }
}

TEST_F(Store, NewFileIsNoStandardStream) { // diagnostics would go into it
    for (const int lowestClosed : {0, 1, 2}) {
        int streams[] = {dup(0), dup(1), dup(2)};
        const int next = dup(0);
        close(next);
        for (int stream = lowestClosed; stream <= 2; ++stream) {
            close(stream);
        }
        const std::string failure = thrown([&] { state.save(); }); // which has the plug-in open a directory
        TemporaryFile file((place.root + "/file").c_str());
        file.open();
        const std::vector<int> flags = {fcntl(lowestClosed, F_GETFD), fcntl(2, F_GETFD), fcntl(next, F_GETFD)};
        for (int stream = 0; stream <= 2; ++stream) {
            dup2(streams[stream], stream), close(streams[stream]);
        }
        EXPECT_EQ(flags, (std::vector<int>{-1, -1, FD_CLOEXEC})) << lowestClosed;
        EXPECT_EQ(failure, "") << lowestClosed;
        file.write("text");
        EXPECT_EQ(Workplace::read(place.root + "/file"), "text") << lowestClosed;
    }
}

TEST_F(Store, ExistenceIsCheckedBeforeAndAfterTheLock) { // that it may be as wanted: see java/
    setVariable("REPOSITORY_HANDLER_HOME", TEST_PLUGINS "/recording"), setVariable("RECORDED_CALLS", "/dev/null");
    const struct {
        const char *event, *before; ///< the event comes after the first check
        int32_t mode;
        bool locked;
    } cases[] = {
        {"nothing", "storestate.rec", RECORD_MUST_NOT_EXIST, false},
        {"nothing", "none", RECORD_MUST_EXIST, false},
        {"comes", "none", RECORD_MUST_NOT_EXIST, true},
        {"goes", "storestate.rec", RECORD_MUST_EXIST, true},
    };
    for (const auto& [event, before, mode, locked] : cases) {
        remove_all(info);
        for (const char* file : {"wait", event, before}) {
            Workplace::write(info + "/" + file, "Version=\"1\"\n");
        }
        StoreState late("S", "");
        EXPECT_FALSE(loadForModify(late, mode)) << event << ", before: " << before;
        EXPECT_EQ(late.semaphore.locked, locked) << event << ", before: " << before;
    }
}
