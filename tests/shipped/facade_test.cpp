#include "repository/EntryPoints.h"
#include "repository/RepositoryFacade.h"
#include "support/Testing.h"

#include <dlfcn.h>
#include <syslog.h>

static bool flag = false;
static const char *const R = "R", *const S = "S";
static void* const opaque = reinterpret_cast<void*>(0xabc);

/** The path that a function returns. */
static std::string taken(char* path) {
    const std::unique_ptr<char[]> owned(path);
    return path != nullptr ? path : "";
}

static intptr_t number(intptr_t result) {
    return result;
}
static intptr_t number(void* result) {
    return reinterpret_cast<intptr_t>(result);
}
static intptr_t number(char* result) {
    return taken(result) == "R/S";
}

#define CALL(name, arguments) #name, #arguments, [] { return number(name arguments); }
/** The eleven, with the recording plug-in's answer, the failure value and the end of the trace line. */
static const struct {
    std::string name, arguments;
    intptr_t (*call)();
    intptr_t answer, failure;
    const char* trace;
} FUNCTIONS[] = {
    {CALL(getLocation, (R, S, opaque)), 1, 0, "repository=R fileName=S"},
    {CALL(createDirectory, (R, S, opaque, flag)), 1, 0, "repository=R subDir=S"},
    {CALL(unAge, (R, S)), 1, 0, "repository=R resource=S"},
    {CALL(freeMount, (R, S)), 2, 127, "repository=R and subDirectory=S"},
    {"checkOverload", "(R)", [] { return checkOverload(R), intptr_t{0}; }, 0, 0, "repository=R"},
    {CALL(listDirs, (R, opaque, flag)), 3, 0, "repository=R"},
    {CALL(listFiles, (R, opaque, flag)), 4, 0, "repository=R"},
    {CALL(removeResource, (R, S)), 5, -1, "repository=R resource=S"},
    {CALL(checkResourceStatus, (R, S)), 6, -1, "repository=R resource=S"},
    {CALL(getRepositoryStatus, (R)), 7, -1, "repository=R"},
    {CALL(createLocation, (R, S, opaque, flag)), 8, 0, "repository=R fileName=S"},
};

static_assert(std::size(FUNCTIONS) == std::size(storestate::ENTRY_POINTS));

class Facade : public ::testing::Test {
protected:
    Facade() { taken(getLocation("", "", nullptr)), takeLog(); } // which opens the log

    static bool loaded(const std::string& home) {
        void* handle = dlopen((home + "/lib/RepositoryHandler.so").c_str(), RTLD_LAZY | RTLD_NOLOAD);
        return handle != nullptr && dlclose(handle) == 0;
    }

    Workplace place;
};

TEST_F(Facade, HandsEachCallOnOrReportsWhyNot) {
    const std::string recording = TEST_PLUGINS "/recording", empty = TEST_PLUGINS "/empty", tooLong(999, 'x');
    const std::string calls = place.root + "/calls",
                      loading = "EXCEPTION: dlopen error: ", file = "/lib/RepositoryHandler.so: ";
    setVariable("RECORDED_CALLS", calls.c_str());
    const std::tuple<std::string, const char*, std::string> cases[] = {
        {"0", recording.c_str(), ""},
        {"1", recording.c_str(), ""},
        {"1", empty.c_str(), "EXCEPTION: dlsym error initTask: " + empty + file + "undefined symbol: <name>_"},
        {"0", nullptr, loading + "REPOSITORY_HANDLER_HOME is not set"},
        {"0", tooLong.c_str(), loading + "REPOSITORY_HANDLER_HOME is too long"},
        {"0", "/none", loading + "/none" + file + "cannot open shared object file: No such file or directory"},
    };
    for (const auto& [given, home, error] : cases) {
        setVariable("REPOSITORY_HANDLER_HOME", home);
        flag = given == "1";
        for (const auto& [name, arguments, call, answer, failure, trace] : FUNCTIONS) {
            unlink(snapshotPath().c_str());
            Workplace::write(calls, "");
            EXPECT_EQ(call(), error.empty() ? answer : failure) << name;
            Log wanted = {{WRITTEN, LOG_DEBUG, "called " + name + " with " + trace}};
            const std::string reported = expand(error, {{"<name>", name}});
            if (!error.empty()) {
                wanted.emplace_back(WRITTEN_BESIDE_SNAPSHOT, LOG_ERR, reported);
            }
            EXPECT_EQ(takeLog(), wanted);
            EXPECT_EQ(Workplace::read(calls),
                      error.empty() ? expand(name + arguments, {{"opaque", "0xabc"}, {"flag", given}}) : "");
            EXPECT_FALSE(loaded(home != nullptr ? home : "")) << name;
            if (error.find(loading) == 0) {
                break;
            } // for the others it is the same
        }
    }
    EXPECT_NE(Workplace::read(snapshotPath()).find(std::to_string(getpid()) + " "), std::string::npos);
    EXPECT_NE(Workplace::read(snapshotPath()).find("PATH="), std::string::npos);
}

TEST_F(Facade, EndsThePluginsOwnExceptionsAndPassesOthersThrough) {
    setVariable("REPOSITORY_HANDLER_HOME", TEST_PLUGINS "/failing");
    EXPECT_EQ(getLocation("R", "S", nullptr), nullptr);
    EXPECT_EQ(createDirectory("R", "S", nullptr, false), nullptr);
    EXPECT_EQ(takeLog(), (Log{{WRITTEN, LOG_DEBUG, "called getLocation with repository=R fileName=S"},
                              {WRITTEN_BESIDE_SNAPSHOT, LOG_ERR, "EXCEPTION: 100% %s of %n"},
                              {WRITTEN_BESIDE_SNAPSHOT, LOG_DEBUG, "called createDirectory with repository=R subDir=S"},
                              {WRITTEN_BESIDE_SNAPSHOT, LOG_ERR, "EXCEPTION: of a class of the plug-in"}}));
    EXPECT_EQ(freeMount("R", "S"), 127) << "a symbol without an address";
    EXPECT_FALSE(loaded(TEST_PLUGINS "/failing"));
    EXPECT_THROW(unAge("R", "S"), int);
    EXPECT_EQ(takeLog().size(), 2) << "the calls, and no exception";
    EXPECT_TRUE(loaded(TEST_PLUGINS "/failing")) << "an exception may need its code";
}

TEST_F(Facade, SuppliedPluginStaysInsideTheRepository) {
    const std::string root = place.repository(), path = root + "/1.2", tooLong(300, '1');
    const auto paths = [](const char* repository, const char* study) { // found and, found or not, made
        const std::string found = taken(getLocation(repository, study, nullptr));
        return found + "|" + taken(createDirectory(repository, study, nullptr, false));
    };
    EXPECT_EQ(paths(root.c_str(), "1.2"), "|" + path);
    EXPECT_EQ(paths(root.c_str(), "1.2"), path + "|" + path);
    Workplace::write(root + "/file", "");
    for (const char* refused : {"", ".", "..", "/", "../locks", "1.2/x", "file", tooLong.c_str()}) {
        EXPECT_EQ(paths(root.c_str(), refused), "|") << refused;
    }
    for (const char* nowhere : {"", "/no/such/root", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(paths(nowhere, "1.2"), "|") << (nowhere != nullptr ? nowhere : "null");
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(root), {}), 2);
}
