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
    serverSetting("STORESTATE_TEST_SERVER");
    umask(0);
    EXPECT_FALSE(state.remove());
    EXPECT_FALSE(state.load());
    EXPECT_EQ(status(lock).permissions(), perms(0660));
    EXPECT_TRUE(state.save());
    EXPECT_EQ(status(study).permissions(), perms(0775));
    EXPECT_EQ(status(info).permissions(), perms(0775));
    EXPECT_EQ(status(record).permissions(), perms(0666));
    EXPECT_TRUE(state.save()) << "over its own record";
    EXPECT_TRUE(state.remove());
    EXPECT_FALSE(state.exists()) << "there is only its directory";
    EXPECT_FALSE(state.remove());
    Workplace::write(record, "Version=\"1\"\n");
    EXPECT_TRUE(StoreState("S", "").save()) << "over a record that it never tried to load";
    Workplace::write(lock, "");
    EXPECT_TRUE(StoreState("S", place.root).load()) << "with another lock directory";
}

TEST_F(Store, PluginIsCalledWithRootAndStudyAndNothingElse) {
    const std::string calls = place.root + "/calls";
    const std::string root = place.root + "/later";
    Workplace::write(root + "/S/.info/storestate.rec", "Version=\"1\"\n");
    setVariable("REPOSITORY_HANDLER_HOME", TEST_PLUGINS "/recording");
    setVariable("RECORDED_CALLS", calls.c_str());
    setVariable("REPOSITORY_DICOM_DATA", root.c_str()); // read at each call
    EXPECT_TRUE(state.exists() && state.load() && state.save() && state.remove());
    const std::string located = "getLocation(" + root + ", S, 0)";
    EXPECT_EQ(Workplace::read(calls), located + located + "createDirectory(" + root + ", S, 0, 0)" + located);
}

TEST_F(Store, ForwardListNeedsItsTables) {
    serverSetting("STORESTATE_TEST_SERVER");
    const std::string query = "Error executing query: select ID, TYPE from ";
    const std::string where = " where SERVICE='AFwd' and ID=DEVICE";
    const std::tuple<const char*, const char*, std::string> cases[] = {
        {"TARGETTBL", nullptr, "Missing environment variables:  TARGETTBL, DEVSERVTBL"},
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

TEST_F(Store, FailedSaveChangesNothingAndNoLinkIsFollowed) {
    const std::string temporary = record + "." + std::to_string(getpid());
    EXPECT_FALSE(state.load());
    state.version = 2;
    state.sourceStudy = OFString("nul\0here", 8);
    EXPECT_EQ(thrown([&] { state.save(); }), FAILURE + "Record of study S cannot carry SourceStudy=\"nul\".");
    EXPECT_FALSE(exists(study));
    state.sourceStudy = "";
    create_directories(record);
    EXPECT_EQ(thrown([&] { state.save(); }),
              FAILURE + "Could not rename " + temporary + " to " + record + " [21: Is a directory]");
    remove(path(record));
    create_symlink(list, temporary);
    EXPECT_TRUE(state.save());
    EXPECT_EQ(Workplace::read(record), "Version=\"2\"\n");
    EXPECT_FALSE(exists(list));
}

bool isOpen(int file) {
    return fcntl(file, F_GETFD) != -1;
}

TEST_F(Store, FilesAreNeverStandardStreamsAndAreClosed) {
    const int folder = open(place.root.c_str(), O_PATH);
    const auto opens = [&](int closed) {
        const int next = fcntl(folder, F_DUPFD, STDERR_FILENO + 1); // the file's number
        close(next);
        storestate::TemporaryFile file((place.root + "/file").c_str());
        return file.open() && !isOpen(closed) && !isOpen(STDERR_FILENO) && fcntl(next, F_GETFD) == FD_CLOEXEC;
    };
    const auto closes = [&](bool (StoreState::*operation)(), bool works, int stream) {
        return thrown([&] { (state.*operation)(); }).empty() == works && !isOpen(stream);
    };
    const auto worksWithoutStreams = [&](int first) {
        for (int stream = first; stream <= STDERR_FILENO; ++stream) {
            close(stream);
        }
        return opens(first) && closes(&StoreState::save, true, first) && remove(path(record)) &&
               create_directory(record) && closes(&StoreState::load, false, first) &&
               closes(&StoreState::save, false, first) && remove(path(record));
    };
    state.version = 1;
    state.useLock = false;
    for (const int first : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        EXPECT_EXIT(_exit(worksWithoutStreams(first)), testing::ExitedWithCode(true), "");
    }
}

/** What lets the record appear between the checks: it is a link to the lock file. */
TEST_F(Store, ExistenceIsCheckedAgainUnderTheLock) {
    create_directories(info);
    create_symlink(lock, record);
    state.autoForwardDevices.push_back(new StoreState::StoreDevice("F", ""));
    EXPECT_FALSE(loadForModify(state, RECORD_MUST_NOT_EXIST));
    EXPECT_TRUE(state.semaphore.locked) << "the first check found no record";
    EXPECT_TRUE(state.studyOwner) << "converted without any owner device";
}

} // namespace
