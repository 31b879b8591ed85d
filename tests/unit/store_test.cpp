#include "storestate/DurableFile.h"
#include "storestate/ModifyOptions.h"
#include "support/Testing.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>

using namespace std::filesystem;

namespace {

// On 32 bits, too: otherwise a record with a late date or a high inode number would count as missing.
static_assert(std::min({sizeof(stat::st_size), sizeof(stat::st_ino), sizeof(stat::st_mtime)}) == 8);

const std::string FAILURE = "Unknown Exception: [1] ";

class Store : public testing::Test {
protected:
    Workplace place;
    const std::string study = place.repository() + "/S";
    const std::string info = place.info("S");
    const std::string record = place.record("S");
    const std::string list = place.legacyList("S");
    const std::string lock = place.lockFile("S");
    StoreState state{"S", ""};
};

TEST_F(Store, FirstSaveMakesWhatRemoveDeletes) {
    requireServer();
    umask(0);
    EXPECT_FALSE(state.remove());
    EXPECT_FALSE(state.load());
    EXPECT_EQ(status(lock).permissions(), perms(0660));
    EXPECT_TRUE(state.save());
    EXPECT_TRUE(state.exists());
    EXPECT_EQ(status(study).permissions(), perms(0775));
    EXPECT_EQ(status(info).permissions(), perms(0775));
    EXPECT_EQ(status(record).permissions(), perms(0666));
    EXPECT_TRUE(state.save()) << "over its own record";
    EXPECT_TRUE(state.remove());
    EXPECT_EQ(errno, 0);
    EXPECT_FALSE(state.exists()) << "there is only its directory";
    EXPECT_FALSE(state.remove());
    EXPECT_EQ(errno, ENOENT);
    create_symlink(record, record);
    EXPECT_FALSE(state.exists()) << "a link to itself";
    EXPECT_TRUE(state.remove());
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
    EXPECT_TRUE(exists(lock));
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

TEST_F(Store, ForwardListNeedsItsTables) {
    requireServer();
    const std::string noTables = "Missing environment variables:  TARGETTBL, DEVSERVTBL";
    const std::string query = "Error executing query: select ID, TYPE from ";
    const std::string where = " where SERVICE='AFwd' and ID=DEVICE";
    const struct {
        const char* variable;
        const char* value; ///< null: unset
        std::string failure;
    } cases[] = {
        {"TARGETTBL", nullptr, noTables},
        {"DEVSERVTBL", nullptr, noTables},
        {"TARGETTBL", "Nothing", query + "Nothing, DeviceServices" + where},
        {"TARGETTBL", "archive.Targets", query + "archive.Targets, DeviceServices" + where},
        {"DEVSERVTBL", "DeviceServices ", query + "Targets, DeviceServices " + where},
    };
    Workplace::write(record, "");
    for (const auto& [variable, value, failure] : cases) {
        const std::string good = serverSetting(variable);
        setVariable(variable, value);
        EXPECT_EQ(thrown([] { StoreState("S", "").load(); }), FAILURE + failure);
        setVariable(variable, good.c_str());
    }
}

TEST_F(Store, RootIsRequiredFirst) {
    setVariable("REPOSITORY_DICOM_DATA", nullptr);
    StoreState rootless("S", "/none");
    for (const auto operation : {&StoreState::exists, &StoreState::remove, &StoreState::load, &StoreState::save}) {
        EXPECT_EQ(thrown([&] { (rootless.*operation)(); }), FAILURE + "Missing environment: REPOSITORY_DICOM_DATA");
    }
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
        {"a directory", [&] { create_directories(record); }, noRename},
        {"a file for the information directory", [&] { Workplace::write(info, ""); }, "false"},
        {"a link for the temporary file", [&] { linkTo(list, temporary); }, "true"},
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

/** Closes the standard streams from `first` on and exits with what `work` returns. */
void exitWithoutStreams(int first, const std::function<int()>& work) {
    for (int stream = first; stream <= STDERR_FILENO; ++stream) {
        close(stream);
    }
    _exit(work());
}

TEST_F(Store, TemporaryFileIsNeitherStandardStreamNorInherited) {
    const int folder = open(place.root.c_str(), O_PATH);
    const auto opens = [&](int closed) {
        const int next = fcntl(folder, F_DUPFD, STDERR_FILENO + 1); // the file's number
        close(next);
        storestate::TemporaryFile file((place.root + "/file").c_str());
        return file.open() && !isOpen(closed) && !isOpen(STDERR_FILENO) && fcntl(next, F_GETFD) == FD_CLOEXEC;
    };
    for (const int first : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        EXPECT_EXIT(exitWithoutStreams(first, [&] { return opens(first); }), testing::ExitedWithCode(true), "");
    }
}

TEST_F(Store, CallsWithoutStandardStreamsLeaveNoneOpen) {
    enum Outcome { DONE, FAILED, OPEN };
    const auto outcome = [&](bool (StoreState::*operation)()) {
        const std::string failure = thrown([&] { (state.*operation)(); });
        const Outcome ended = failure.empty() ? DONE : FAILED;
        return isOpen(STDIN_FILENO) ? OPEN : ended;
    };
    state.version = 1;
    EXPECT_EXIT(exitWithoutStreams(0, [&] { return outcome(&StoreState::save); }), testing::ExitedWithCode(DONE), "");
    remove(path(record));
    create_directory(record); // cannot be read, and no file can be renamed to it
    for (const auto operation : {&StoreState::load, &StoreState::save}) {
        EXPECT_EXIT(exitWithoutStreams(0, [&] { return outcome(operation); }), testing::ExitedWithCode(FAILED), "");
    }
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
