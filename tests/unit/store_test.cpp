#include "storestate/DurableFile.h"
#include "storestate/ModifyOptions.h"
#include "support/Testing.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>

using namespace std::filesystem;

namespace {

// On 32 bits, too: otherwise a record with a late date or a high inode number would count as missing.
static_assert(std::min({sizeof(stat::st_size), sizeof(stat::st_ino), sizeof(stat::st_mtime)}) == 8);

const std::string FAILURE = "Unknown Exception: [1] ";

class Store : public testing::Test {
protected:
    static perms mode(const std::string& file) { return status(file).permissions(); }

    Workplace place;
    const std::string study = place.repository() + "/S";
    const std::string info = place.info("S");
    const std::string record = place.record("S");
    const std::string list = place.legacyList("S");
    const std::string lock = place.lockFile("S");
    StoreState state{"S", ""};
};

TEST_F(Store, LoadTakesTheLockAndReleaseGivesItBack) {
    umask(0);
    EXPECT_FALSE(state.load()) << "unknown to the repository";
    EXPECT_FALSE(state.remove());
    EXPECT_EQ(mode(lock), perms(0660));
    EXPECT_EQ(thrown([&] { state.convert(); }), FAILURE + "Study S not found in repository.");
    EXPECT_EQ(state.version, 0);
    state.release();
    EXPECT_FALSE(exists(lock));
}

TEST_F(Store, FirstSaveMakesWhatRemoveDeletes) {
    requireServer();
    umask(0);
    EXPECT_FALSE(state.exists());
    EXPECT_TRUE(state.save());
    EXPECT_TRUE(state.exists());
    EXPECT_EQ(mode(study), perms(0775));
    EXPECT_EQ(mode(info), perms(0775));
    EXPECT_EQ(mode(record), perms(0666));
    EXPECT_TRUE(state.save()) << "over its own record";
    EXPECT_TRUE(state.remove());
    EXPECT_EQ(errno, 0);
    EXPECT_FALSE(state.exists()) << "there is only its directory";
    EXPECT_FALSE(state.remove());
    EXPECT_EQ(errno, ENOENT);
    Workplace::write(record, "");
    EXPECT_TRUE(StoreState("S", "").save()) << "over a record that it never tried to load";
}

TEST_F(Store, CallerWhoHoldsTheLockKeepsIt) {
    Workplace::write(record, "Version=\"1\"\n");
    Workplace::write(lock, "");
    EXPECT_TRUE(StoreState("S", place.root).load()) << "with another lock directory";
    state.useLock = false;
    EXPECT_TRUE(state.load());
    EXPECT_TRUE(state.save());
    state.release();
    EXPECT_TRUE(exists(lock));
}

TEST_F(Store, SaveDeletesTheListThatItTookInOnly) {
    Workplace::write(record, "");
    Workplace::write(list, "A\n");
    state.autoForwardDevices.push_back(new StoreState::StoreDevice("PACS1", "C"));
    EXPECT_TRUE(state.load());
    EXPECT_TRUE(state.save());
    EXPECT_TRUE(state.forwardDevices.Contains("A"));
    EXPECT_FALSE(exists(list));
    Workplace::write(list, "B\n");
    EXPECT_TRUE(state.save());
    EXPECT_TRUE(exists(list));
}

TEST_F(Store, PluginIsCalledWithRootAndStudyAndNothingElse) {
    const std::string calls = place.root + "/calls";
    const std::string root = place.root + "/later";
    Workplace::write(root + "/S/.info/storestate.rec", "Version=\"1\"\n");
    setVariable("REPOSITORY_HANDLER_HOME", TEST_PLUGINS "/recording");
    setVariable("RECORDED_CALLS", calls.c_str());
    setVariable("REPOSITORY_DICOM_DATA", root.c_str()); // read at each call
    const struct {
        bool (StoreState::*operation)();
        std::string call;
    } cases[] = {
        {&StoreState::exists, "getLocation(" + root + ", S, 0)"},
        {&StoreState::load, "getLocation(" + root + ", S, 0)"},
        {&StoreState::save, "createDirectory(" + root + ", S, 0, 0)"},
        {&StoreState::remove, "getLocation(" + root + ", S, 0)"},
    };
    for (const auto& [operation, call] : cases) {
        Workplace::write(calls, "");
        EXPECT_TRUE((state.*operation)());
        EXPECT_EQ(Workplace::read(calls), call);
    }
}

TEST_F(Store, BrokenEnvironmentIsNamedAndChangesNothing) {
    requireServer();
    const std::string noTables = "Missing environment variables:  TARGETTBL, DEVSERVTBL";
    const std::string query = "Error executing query: select ID, TYPE from ";
    const std::string where = " where SERVICE='AFwd' and ID=DEVICE";
    const struct {
        const char* variable;
        const char* value; ///< null: unset
        std::string failure;
    } cases[] = {
        {"REPOSITORY_DICOM_DATA", nullptr, "Missing environment: REPOSITORY_DICOM_DATA"},
        {"MYSQL_UNIX_PORT", "/none", "Error connecting to MySQL"},
        {"TARGETTBL", nullptr, noTables},
        {"DEVSERVTBL", nullptr, noTables},
        {"TARGETTBL", "Nothing", query + "Nothing, DeviceServices" + where},
        {"TARGETTBL", "archive.Targets", query + "archive.Targets, DeviceServices" + where},
        {"DEVSERVTBL", "DeviceServices ", query + "Targets, DeviceServices " + where},
    };
    Workplace::write(record, "ForwardDevices=\"E\"\n");
    Workplace::write(list, "A\n");
    for (const auto& [variable, value, failure] : cases) {
        const std::string good = serverSetting(variable);
        setVariable(variable, value);
        const std::string actual = thrown([] { StoreState("S", "").load(); });
        setVariable(variable, good.c_str());
        EXPECT_EQ(actual, FAILURE + failure);
        EXPECT_EQ(Workplace::read(record) + Workplace::read(list), "ForwardDevices=\"E\"\nA\n") << failure;
        EXPECT_FALSE(exists(lock)) << failure;
    }
}

TEST_F(Store, RefusedRecordMakesNoDirectory) {
    state.version = 1;
    state.folder = "A!B";
    EXPECT_EQ(thrown([&] { state.save(); }), FAILURE + "Record of study S cannot carry Folder=\"A!B\".");
    EXPECT_FALSE(exists(study));
}

TEST_F(Store, RootIsRequiredFirst) {
    setVariable("REPOSITORY_DICOM_DATA", "");
    StoreState rootless("S", "/none");
    for (const auto operation : {&StoreState::exists, &StoreState::remove, &StoreState::load, &StoreState::save}) {
        EXPECT_EQ(thrown([&] { (rootless.*operation)(); }), FAILURE + "Missing environment: REPOSITORY_DICOM_DATA");
    }
    EXPECT_EQ(rootless.version, 0);
}

TEST_F(Store, RecordThatAppearsAfterTheLoadIsNotOverwritten) {
    const std::string unread = FAILURE + "Record of study S exists but was not read.";
    const std::string temporary = record + "." + std::to_string(getpid());
    const std::string noRename = FAILURE + "Could not rename " + temporary + " to " + record + " [21: Is a directory]";
    const auto linkTo = [&](const std::string& target, const std::string& name) {
        create_directories(info);
        create_symlink(target, name);
    };
    const struct {
        const char* name;
        std::function<void()> appear;
        std::string outcome; ///< of the save
    } cases[] = {
        {"a record", [&] { Workplace::write(record, "Version=\"1\"\n"); }, unread},
        {"a link to nothing", [&] { linkTo("/none", record); }, unread},
        {"a record that cannot be looked at", [&] { linkTo(record, record); }, unread},
        {"a directory", [&] { create_directories(record); }, noRename},
        {"a file for the information directory", [&] { Workplace::write(info, ""); }, "false"},
        {"a link for the temporary file", [&] { linkTo(list, temporary); }, "false"},
        {"a dead process's temporary file", [&] { Workplace::write(temporary, std::string(500, 'x')); }, "true"},
    };
    for (const auto& [name, appear, outcome] : cases) {
        SCOPED_TRACE(name);
        StoreState late("S", "");
        EXPECT_FALSE(late.load());
        late.version = 2;
        appear();
        std::string result;
        const std::string failure = thrown([&] { result = late.save() ? "true" : "false"; });
        EXPECT_EQ(failure + result, outcome);
        if (outcome == "true") {
            EXPECT_EQ(Workplace::read(record), "Version=\"2\"\n");
        }
        EXPECT_FALSE(exists(list));
        remove_all(study);
    }
}

bool isOpen(int file) {
    return fcntl(file, F_GETFD) != -1;
}

/** Whether `work` holds in a child process whose standard streams are closed from `first` on. */
bool holdsWithoutStreams(int first, const std::function<bool()>& work) {
    const pid_t child = fork();
    if (child == 0) {
        for (int stream = first; stream <= STDERR_FILENO; ++stream) {
            close(stream);
        }
        _exit(work() ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status == 0;
}

TEST_F(Store, TemporaryFileIsNeitherStandardStreamNorInherited) {
    const int folder = open(place.root.c_str(), O_PATH);
    for (const int first : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        EXPECT_TRUE(holdsWithoutStreams(first, [&] {
            const int next = fcntl(folder, F_DUPFD, STDERR_FILENO + 1); // the file's number
            close(next);
            storestate::TemporaryFile file((place.root + "/file").c_str());
            return file.open() && !isOpen(first) && !isOpen(STDERR_FILENO) && fcntl(next, F_GETFD) == FD_CLOEXEC;
        })) << first;
    }
}

TEST_F(Store, CallsWithoutStandardStreamsLeaveNoneOpen) {
    state.version = 1;
    EXPECT_TRUE(holdsWithoutStreams(STDIN_FILENO, [&] { return state.save() && !isOpen(STDIN_FILENO); }));
    remove(path(record));
    create_directory(record); // cannot be read, and no file can be renamed to it
    EXPECT_TRUE(holdsWithoutStreams(STDIN_FILENO, [&] {
        const std::string failure = thrown([&] { state.load(); });
        return failure.find("Reading file failed") != failure.npos && !isOpen(STDIN_FILENO);
    }));
    EXPECT_TRUE(holdsWithoutStreams(STDIN_FILENO, [&] {
        const std::string failure = thrown([&] { state.save(); });
        return failure.find("Could not rename") != failure.npos && !isOpen(STDIN_FILENO);
    }));
}

TEST_F(Store, ExistenceIsCheckedBeforeAndAfterTheLock) {
    setVariable("REPOSITORY_HANDLER_HOME", TEST_PLUGINS "/recording");
    setVariable("RECORDED_CALLS", "/dev/null");
    const struct {
        const char* event; ///< after the first check
        const char* before;
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

} // namespace
