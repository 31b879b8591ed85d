#include "repository/RepositoryFacade.h"
#include "repository/dumpPS.h"
#include "support/CapturedSyslog.h"
#include "support/Workplace.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <memory>

using Lines = std::vector<std::string>;

static intptr_t number(const void* pointer) {
    return reinterpret_cast<intptr_t>(pointer);
}

/** The eleven functions, each with the answer of the recording plug-in and its failure value. */
static const struct {
    const char* name;
    intptr_t (*call)();
    intptr_t answer, failure;
    const char *trace, *recorded;
} FUNCTIONS[] = {
    {"unAge", [] { return intptr_t{unAge("R", "S")}; }, 1, 0, "repository=R resource=S", "(R,S,(nil),0)"},
    {"freeMount", [] { return intptr_t{freeMount("R", "S")}; }, 2, 127, "repository=R and subDirectory=S",
     "(R,S,(nil),0)"},
    {"checkOverload", [] { return checkOverload("R"), intptr_t{0}; }, 0, 0, "repository=R", "(R,,(nil),0)"},
    {"listDirs", [] { return number(listDirs("R", &rh_logger, true)); }, 3, 0, "repository=R", ""},
    {"listFiles", [] { return number(listFiles("R", nullptr, false)); }, 4, 0, "repository=R", "(R,,(nil),0)"},
    {"removeResource", [] { return intptr_t{removeResource("R", "S")}; }, 5, -1, "repository=R resource=S",
     "(R,S,(nil),0)"},
    {"checkResourceStatus", [] { return intptr_t{checkResourceStatus("R", "S")}; }, -1, -1, "repository=R resource=S",
     "(R,S,(nil),0)"},
    {"getRepositoryStatus", [] { return intptr_t{getRepositoryStatus("R")}; }, 6, -1, "repository=R", "(R,,(nil),0)"},
    {"getLocation", [] { return intptr_t{std::unique_ptr<char[]>(getLocation("R", "S", nullptr)) != nullptr}; }, 1, 0,
     "repository=R fileName=S", "(R,S,(nil),0)"},
    {"createLocation", [] { return number(createLocation("R", "S", nullptr, true)); }, 7, 0, "repository=R fileName=S",
     "(R,S,(nil),1)"},
    {"createDirectory",
     [] { return intptr_t{std::unique_ptr<char[]>(createDirectory("R", "S", nullptr, true)) != nullptr}; }, 1, 0,
     "repository=R subDir=S", "(R,S,(nil),1)"},
};

class Facade : public ::testing::Test {
protected:
    ~Facade() override { unlink(snapshotPath().c_str()); }

    static void use(const std::string& plugin) {
        setenv("REPOSITORY_HANDLER_HOME", (TEST_PLUGINS "/" + plugin).c_str(), 1);
    }
    static bool loaded(const std::string& plugin) {
        void* handle =
            dlopen((TEST_PLUGINS "/" + plugin + "/lib/RepositoryHandler.so").c_str(), RTLD_LAZY | RTLD_NOLOAD);
        return handle != nullptr && dlclose(handle) == 0;
    }
    /** What was logged since the last time, without the opening of the log. */
    static Lines logged() {
        Lines lines = std::exchange(syslogCalls, {});
        lines.erase(std::remove(lines.begin(), lines.end(), "open QXRepositoryHandlerIface 1 128"), lines.end());
        return lines;
    }

    Workplace place;
};

TEST_F(Facade, HandsEachCallOnAndLeavesNothingLoaded) {
    use("recording");
    for (const auto& [name, call, answer, failure, trace, recorded] : FUNCTIONS) {
        const std::string calls = place.root + "/" + name;
        setenv("RECORDED_CALLS", calls.c_str(), 1);
        EXPECT_EQ(call(), answer) << name;
        EXPECT_EQ(logged(), Lines{std::string("7 called ") + name + " with " + trace});
        char opaque[64];
        snprintf(opaque, sizeof opaque, "(R,,%p,1)", static_cast<void*>(&rh_logger));
        EXPECT_EQ(Workplace::read(calls), name + std::string(*recorded != '\0' ? recorded : opaque) + "\n");
        EXPECT_FALSE(loaded("recording"));
    }
    EXPECT_FALSE(std::filesystem::exists(snapshotPath()));
}

TEST_F(Facade, ReportsWhatCannotBeLoadedOrResolved) {
    const std::string missing = place.root + "/no plug-in";
    const std::string tooLong(1000, 'x');
    const std::pair<const char*, std::string> homes[] = {
        {missing.c_str(), "dlopen error: " + missing + "/lib/RepositoryHandler.so: cannot open"},
        {tooLong.c_str(), "dlopen error: REPOSITORY_HANDLER_HOME is too long"},
        {nullptr, "dlopen error: REPOSITORY_HANDLER_HOME is not set"},
        {TEST_PLUGINS "/empty",
         "dlsym error initTask: " TEST_PLUGINS "/empty/lib/RepositoryHandler.so: undefined symbol: "},
    };
    for (const auto& [home, reason] : homes) {
        home != nullptr ? setenv("REPOSITORY_HANDLER_HOME", home, 1) : unsetenv("REPOSITORY_HANDLER_HOME");
        for (const auto& function : FUNCTIONS) {
            unlink(snapshotPath().c_str());
            EXPECT_EQ(function.call(), function.failure) << function.name;
            const Lines lines = logged();
            ASSERT_EQ(lines.size(), 2U);
            EXPECT_EQ(lines[0], std::string("7 called ") + function.name + " with " + function.trace);
            EXPECT_EQ(lines[1].rfind("3 (snapshot) EXCEPTION: " + reason, 0), 0U) << lines[1];
            const bool unresolved = reason.find("symbol") != std::string::npos;
            EXPECT_EQ(lines[1].find(std::string(function.name) + "_") != std::string::npos, unresolved) << lines[1];
        }
        EXPECT_FALSE(loaded("empty"));
    }
    EXPECT_NE(Workplace::read(snapshotPath()).find(std::to_string(getpid()) + " "), std::string::npos);
}

TEST_F(Facade, EndsThePluginsOwnExceptionsAndPassesOthersThrough) {
    use("failing");
    EXPECT_EQ(getLocation("R", "S", nullptr), nullptr);
    EXPECT_EQ(logged().back(), "3 (snapshot) EXCEPTION: 100% %s of %n");
    EXPECT_EQ(createDirectory("R", "S", nullptr, false), nullptr);
    EXPECT_EQ(logged().back(), "3 (snapshot) EXCEPTION: of a class of the plug-in");
    unlink(snapshotPath().c_str());
    EXPECT_EQ(freeMount("R", "S"), 127) << "a symbol without an address";
    EXPECT_EQ(logged().size(), 1U);
    EXPECT_FALSE(loaded("failing"));
    EXPECT_THROW(unAge("R", "S"), int);
    EXPECT_EQ(logged().size(), 1U) << "the trace alone";
    EXPECT_FALSE(std::filesystem::exists(snapshotPath()));
    EXPECT_TRUE(loaded("failing")) << "an exception may need its code";
}

TEST_F(Facade, SuppliedPluginStaysInsideTheRepository) {
    const std::string root = place.repository();
    const auto located = [&](const char* study) {
        const std::unique_ptr<char[]> path(getLocation(root.c_str(), study, nullptr));
        return path != nullptr ? std::string(path.get()) : "";
    };
    const auto created = [&](const char* repository, const char* study) {
        const std::unique_ptr<char[]> path(createDirectory(repository, study, nullptr, false));
        return path != nullptr ? std::string(path.get()) : "";
    };
    EXPECT_EQ(located("1.2"), "");
    EXPECT_EQ(created(root.c_str(), "1.2"), root + "/1.2");
    EXPECT_EQ(created(root.c_str(), "1.2"), root + "/1.2") << "again";
    EXPECT_EQ(located("1.2"), root + "/1.2");
    Workplace::write(root + "/file", "");
    const std::string tooLong(300, '1');
    for (const char* refused : {"", ".", "..", "/", "../locks", "1.2/x", "file", tooLong.c_str()}) {
        EXPECT_EQ(located(refused) + created(root.c_str(), refused), "") << refused;
    }
    for (const char* repository : {"", (const char*)nullptr, "/no/such/root"}) {
        EXPECT_EQ(created(repository, "1.2"), "");
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(root), {}), 2);
}
