#include "jni/ModifyOptions.h"
#include "support/QXException.h"
#include "support/Workplace.h"

#include <cerrno>
#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <numeric>
#include <set>
#include <sys/resource.h>
#include <sys/stat.h>

class Store : public ::testing::Test {
protected:
    /** As the native method `convert`: reads the study's record and writes it back. */
    bool convert() {
        StoreState state("S", "");
        state.load();
        return state.save();
    }
    bool locked() const { return std::filesystem::exists(place.lockFile("S")); }

    Workplace place;
    const std::string record = place.record("S");
    const std::string list = place.legacyList("S");
    const std::string temporary = record + "." + std::to_string(getpid());
};

static const char* const AUTO_FORWARDED = "OwnerDevice=\"PACS1\"\nStagedDevices=\"PACS2\"\nForwardDevices=\"WS1\"\n";

TEST_F(Store, ConvertBringsRecordsUpToDate) {
    const std::string crlf = "  A  other words\r\n#B\r\n\r\n   \r\nC D\r\nA\r\n";
    const struct {
        const char* what;
        const char *before, *list, *after;
        bool listStays;
    } cases[] = {
        {"new", nullptr, nullptr, AUTO_FORWARDED, false},
        {"a list without a record", nullptr, "A\n", AUTO_FORWARDED, true},
        {"old", "", crlf.c_str(),
         "OwnerDevice=\"PACS1\"\nArchiveDevice=\"@Archive-@TOP\"\nStagedDevices=\"PACS2\"\nForwardDevices=\"WS1 A "
         "C\"\n",
         false},
        {"old with devices", "Version=\"0\"\nArchiveDevice=\"X\"\nOwnerDevice=\"PACS2\"\nForwardDevices=\"E A\"\n",
         "A\nF", "OwnerDevice=\"PACS2\"\nArchiveDevice=\"X\"\nStagedDevices=\"PACS1\"\nForwardDevices=\"E A WS1 F\"\n",
         false},
        {"owned locally", "StudyOwner=\"yes\"\n", nullptr,
         "ArchiveDevice=\"@Archive-@TOP\"\nStudyOwner=\"yes\"\nStagedDevices=\"PACS1 PACS2\"\nForwardDevices=\"WS1\"\n",
         false},
        {"current", "Version=\"3\"\nFolder=\"F\"\n", "A\n", "Folder=\"F\"\n", true},
        {"negative", "Version=\"-1\"\n", "A\n", "", true},
    };
    for (const auto& [what, before, legacy, after, listStays] : cases) {
        std::filesystem::remove_all(place.repository() + "/S");
        if (before != nullptr) {
            Workplace::write(record, before);
        }
        if (legacy != nullptr) {
            Workplace::write(list, legacy);
        }
        EXPECT_TRUE(convert()) << what;
        const std::string saved = Workplace::read(record);
        const std::string version = saved.substr(0, saved.find('\n') + 1);
        EXPECT_EQ(saved, version + after) << what;
        EXPECT_EQ(version, what == std::string("current")    ? "Version=\"3\"\n"
                           : what == std::string("negative") ? "Version=\"-1\"\n"
                                                             : "Version=\"1\"\n");
        EXPECT_EQ(std::filesystem::exists(list), listStays) << what;
        EXPECT_FALSE(locked()) << what;
    }
}

TEST_F(Store, LockIsHeldFromLoadToSave) {
    {
        StoreState state("S", "");
        EXPECT_FALSE(state.load() || state.exists() || state.remove()) << "unknown to the repository";
        EXPECT_TRUE(locked());
        state.release();
        EXPECT_FALSE(locked());
        state.setAutoForwardDevice("");
        EXPECT_TRUE(state.save());
        EXPECT_TRUE(state.exists());
    }
    StoreState again("new", "");
    EXPECT_FALSE(again.load());
    EXPECT_TRUE(again.save() && again.save()) << "its own record is in nobody's way";
    const auto mode = std::filesystem::status(place.info("S")).permissions();
    const mode_t mask = umask(0);
    umask(mask);
    EXPECT_EQ(mode, static_cast<std::filesystem::perms>(0775 & ~mask));
    {
        StoreState state("S", place.root);
        EXPECT_TRUE(state.load());
        EXPECT_TRUE(std::filesystem::exists(place.root + "/semaphore_storestate_S"));
    }
    EXPECT_FALSE(std::filesystem::exists(place.root + "/semaphore_storestate_S")) << "destroyed";
    Workplace::write(place.lockFile("S"), "");
    StoreState state("S", "");
    state.useLock = false;
    EXPECT_TRUE(state.load() && state.save());
    state.release();
    EXPECT_TRUE(state.remove() && locked()) << "the lock is the caller's";
    EXPECT_FALSE(state.remove());
}

/** Every path below a directory, with the content of the files. */
static std::string contents(const std::string& directory) {
    constexpr auto file = std::filesystem::file_type::regular;
    std::set<std::string> lines;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
        lines.insert(entry.path().string() + ": " +
                     (entry.symlink_status().type() == file ? Workplace::read(entry.path()) : ""));
    }
    return std::accumulate(lines.begin(), lines.end(), std::string());
}

TEST_F(Store, FailuresLoseNothingAndSayWhy) {
    using std::filesystem::create_directory;
    using std::filesystem::create_symlink;
    const auto noChange = [] {};
    const auto writable = [](rlim_t size) {
        const rlimit limit = {size, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &limit);
    };
    signal(SIGXFSZ, SIG_IGN);
    const auto plugin = [](const char* home) { setenv("REPOSITORY_HANDLER_HOME", home, 1); };
    const struct {
        const char* what;
        std::function<void()> prepare, beforeSave;
        int number; // 0: false without an exception
        std::string message;
    } cases[] = {
        {"no root", [] { unsetenv("REPOSITORY_DICOM_DATA"); }, noChange, 1,
         "Missing environment: REPOSITORY_DICOM_DATA"},
        {"no lock directory", [] { setenv("LOCK_VAR", "/nowhere", 1); }, noChange, ENOENT,
         "Creating semaphore failed: storestate_S [No such file or directory]"},
        {"no database", [] { setenv("MYSQL_UNIX_PORT", "/nowhere", 1), unsetenv("TARGETTBL"); }, noChange, 1,
         "Error connecting to MySQL"},
        {"no table", [] { unsetenv("DEVSERVTBL"); }, noChange, 1,
         "Missing environment variables:  TARGETTBL, DEVSERVTBL"},
        {"wrong table", [] { setenv("TARGETTBL", "Nothing", 1); }, noChange, 1,
         "Error executing query: select ID, TYPE from Nothing, DeviceServices where SERVICE='AFwd' and ID=DEVICE"},
        {"no name of a table", [] { setenv("TARGETTBL", "Targets where 1=1 --", 1); }, noChange, 1,
         "Error executing query: select ID, TYPE from Targets where 1=1 --, DeviceServices where SERVICE='AFwd' and "
         "ID=DEVICE"},
        {"no way to the record", [&] { unlink(record.c_str()), create_symlink(record, record); }, noChange, ELOOP,
         "Opening file for reading failed: " + record + " Too many levels of symbolic links"},
        {"unreadable record", [&] { unlink(record.c_str()), create_directory(record); }, noChange, EISDIR,
         "Reading file failed: " + record + " Is a directory"},
        {"no way to the list", [&] { unlink(list.c_str()), create_symlink(list, list); }, noChange, ELOOP,
         "Opening file for reading failed: " + list + " Too many levels of symbolic links"},
        {"unreadable list", [&] { unlink(list.c_str()), create_directory(list); }, noChange, EISDIR,
         "Reading file failed: " + list + " Is a directory"},
        {"a name that no record carries", [&] { Workplace::write(list, "A\nB\"\n"); }, noChange, 1,
         "Record of study S cannot carry ForwardDevices=\"B\"\"."},
        {"zeros after a crash", [&] { Workplace::write(list, std::string(40, '\0')); }, noChange, 1,
         "Record of study S cannot carry ForwardDevices=\"\"."},
        {"plug-in away for a moment", [&] { plugin("/nowhere"); }, [&] { plugin(STORESTATE_BUILD_DIR); }, 1,
         "Record of study S exists but was not read."},
        {"plug-in gone", noChange, [&] { plugin("/nowhere"); }, 1, "Study S could not be created in repository."},
        {"no temporary file", [&] { create_directory(temporary); }, noChange, 0, ""},
        {"full disk", noChange, [&] { writable(0); }, EFBIG, "Writing file failed: " + temporary + " File too large"},
        {"disk full in the middle", noChange, [&] { writable(50); }, EFBIG,
         "Writing file failed: " + temporary + " File too large"},
    };
    const std::string socket = getenv("MYSQL_UNIX_PORT");
    for (const auto& [what, prepare, beforeSave, number, message] : cases) {
        std::filesystem::remove_all(place.repository() + "/S");
        Workplace::write(record, "ForwardDevices=\"E\"\n");
        Workplace::write(list, "A\n");
        prepare();
        const std::string before = contents(place.root);
        int actual = 0;
        std::string text;
        try {
            StoreState state("S", "");
            state.load();
            beforeSave();
            EXPECT_FALSE(state.save()) << what;
            EXPECT_TRUE(locked()) << what;
        } catch (const QXException& failure) {
            actual = failure.errorNumber;
            text = failure.message;
        }
        writable(RLIM_INFINITY);
        EXPECT_EQ(actual, number) << what;
        EXPECT_EQ(text, message);
        EXPECT_EQ(contents(place.root), before) << what;
        place.setEnvironment();
        setenv("MYSQL_UNIX_PORT", socket.c_str(), 1);
        setenv("TARGETTBL", "Targets", 1);
        setenv("DEVSERVTBL", "DeviceServices", 1);
        EXPECT_TRUE(what == std::string("no root") || !locked());
    }
    unlink(("/tmp/error_ps." + std::to_string(getpid()) + ".txt").c_str());
}

TEST_F(Store, SaveSaysWhatIsInItsWay) {
    setenv("REPOSITORY_HANDLER_HOME", TEST_PLUGINS "/recording", 1);
    setenv("RECORDED_CALLS", "/dev/null", 1);
    Workplace::write(place.repository() + "/file", "");
    Workplace::write(place.record("directory") + "/file", "");
    const auto refused = [](const char* study) -> std::string {
        StoreState state(study, "");
        state.version = 1;
        try {
            return state.save() ? "saved" : "false";
        } catch (const QXException& failure) {
            return failure.message;
        }
    };
    EXPECT_EQ(refused("file"), "Could not create info directory " + place.info("file") + " [20: Not a directory]");
    const std::string target = place.record("directory");
    const std::string moved = target + "." + std::to_string(getpid());
    EXPECT_EQ(refused("directory"), "Could not rename " + moved + " to " + target + " [21: Is a directory]");
    EXPECT_FALSE(std::filesystem::exists(moved));
    Workplace::write(record, "Version=\"1\"\n");
    EXPECT_EQ(refused("S"), "saved");
    Workplace::write(place.repository() + "/gone/.info/fwds", "A\n");
    StoreState state("gone", "");
    setenv("REPOSITORY_HANDLER_HOME", STORESTATE_BUILD_DIR, 1);
    std::filesystem::remove_all(place.repository() + "/gone");
    try {
        state.convert();
        ADD_FAILURE();
    } catch (const QXException& failure) {
        EXPECT_EQ(failure.message, "Study gone not found in repository.");
        EXPECT_EQ(state.version, 0);
    }
}

TEST_F(Store, ExistenceIsCheckedBeforeAndAfterTheLock) {
    setenv("REPOSITORY_HANDLER_HOME", TEST_PLUGINS "/recording", 1);
    setenv("RECORDED_CALLS", (place.root + "/calls").c_str(), 1);
    const struct {
        const char* event; // what happens between the check and the load
        bool exists;
        int32_t mode;
        bool holds, lockTaken;
    } cases[] = {
        {"", true, RECORD_MUST_EXIST, true, true},
        {"", true, RECORD_MUST_NOT_EXIST, false, false},
        {"", false, RECORD_MUST_EXIST, false, false},
        {"", false, RECORD_MUST_NOT_EXIST, true, true},
        {"", true, 2, true, true},
        {"", false, -1, true, true},
        {"comes", false, RECORD_MUST_NOT_EXIST, false, true},
        {"goes", true, RECORD_MUST_EXIST, false, true},
    };
    for (const auto& [event, exists, mode, holds, lockTaken] : cases) {
        std::filesystem::remove_all(place.info("S"));
        Workplace::write(place.info("S") + "/wait", "");
        if (*event != '\0') {
            Workplace::write(place.info("S") + "/" + event, "Version=\"1\"\n");
        }
        if (exists) {
            Workplace::write(record, "Version=\"1\"\n");
        }
        {
            StoreState state("S", "");
            EXPECT_EQ(loadForModify(state, mode), holds) << event << exists << mode;
            EXPECT_EQ(state.semaphore.locked, lockTaken) << event << exists << mode;
        }
        EXPECT_FALSE(locked());
    }
}

TEST_F(Store, AutoForwardDevicesAreHandedOverOrQueried) {
    const struct {
        const char *before, *devices, *after;
    } cases[] = {
        {"", "PACS9.C;WS2.F", "OwnerDevice=\"PACS9\"\nForwardDevices=\"WS2\"\n"},
        {"", ";;DEV1;A.B.C;.C;P.P;;Q.C;P.P;c.c;F.;",
         "OwnerDevice=\"P\"\nStagedDevices=\"Q\"\nForwardDevices=\"A c F\"\n"},
        {"StudyOwner=\"yes\"\n", "P.P", "StudyOwner=\"yes\"\nStagedDevices=\"P\"\n"},
        {"OwnerDevice=\"P\"\nForwardDevices=\"F\"\n", "P.P;F.F", "OwnerDevice=\"P\"\nForwardDevices=\"F\"\n"},
        {"", "none", AUTO_FORWARDED},
    };
    for (const auto& [before, devices, after] : cases) {
        Workplace::write(record, std::string("Version=\"1\"\n") + before);
        StoreState state("S", "");
        EXPECT_TRUE(state.load());
        state.setAutoForwardDevice(devices);
        state.addAutoForwardDevices(false);
        EXPECT_TRUE(state.save());
        EXPECT_EQ(Workplace::read(record), std::string("Version=\"1\"\n") + after);
    }
    StoreState converted("S", "");
    converted.autoForwardDevices.push_back(new StoreState::StoreDevice("F", ""));
    converted.addAutoForwardDevices(true);
    EXPECT_TRUE(converted.studyOwner) << "converted without an owner device";
}
