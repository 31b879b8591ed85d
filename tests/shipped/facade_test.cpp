#include "repository/RepositoryFacade.h"
#include "repository/dumpPS.h"
#include "support/CapturedSyslog.h"

#include <dlfcn.h>

static bool flag = false;
static void* const opaque = &flag;

/** The path that a function returns. */
static std::string taken(char* path) {
    const std::unique_ptr<char[]> owned(path);
    return path != nullptr ? path : "";
}

static intptr_t number(intptr_t result) { return result; }
static intptr_t number(void* result) { return reinterpret_cast<intptr_t>(result); }
static intptr_t number(char* result) { return taken(result) == "R/S"; }

/** One of the eleven, with the recording plug-in's answer, the failure value and the end of the trace line. */
struct Function {
    std::string name, arguments;
    intptr_t (*call)();
    intptr_t answer, failure;
    const char* trace;
};
#define CALL(name, arguments) #name, #arguments, [] { return number(name arguments); }
static const Function FUNCTIONS[] = {
    {CALL(unAge, ("R", "S")), 1, 0, "repository=R resource=S"},
    {CALL(freeMount, ("R", "S")), 2, 127, "repository=R and subDirectory=S"},
    {"checkOverload", "(\"R\")", [] { return checkOverload("R"), intptr_t{0}; }, 0, 0, "repository=R"},
    {CALL(listDirs, ("R", opaque, flag)), 3, 0, "repository=R"},
    {CALL(listFiles, ("R", opaque, flag)), 4, 0, "repository=R"},
    {CALL(removeResource, ("R", "S")), 5, -1, "repository=R resource=S"},
    {CALL(checkResourceStatus, ("R", "S")), 6, -1, "repository=R resource=S"},
    {CALL(getRepositoryStatus, ("R")), 7, -1, "repository=R"},
    {CALL(getLocation, ("R", "S", opaque)), 1, 0, "repository=R fileName=S"},
    {CALL(createLocation, ("R", "S", opaque, flag)), 8, 0, "repository=R fileName=S"},
    {CALL(createDirectory, ("R", "S", opaque, flag)), 1, 0, "repository=R subDir=S"},
};

class Facade : public ::testing::Test {
protected:
    ~Facade() override { unlink(snapshotPath().c_str()), syslogText.clear(); }

    static bool loaded(const std::string& home) {
        void* handle = dlopen((home + "/lib/RepositoryHandler.so").c_str(), RTLD_LAZY | RTLD_NOLOAD);
        return handle != nullptr && dlclose(handle) == 0;
    }
    /** What was logged since the last time, without the opening of the log. */
    static std::string logged() {
        return expand(std::exchange(syslogText, ""), {{"open QXRepositoryHandlerIface 1 128\n", ""}});
    }

    Workplace place;
};

TEST_F(Facade, HandsEachCallOnOrReportsWhyNot) {
    const std::string calls = place.root + "/calls", at = ::testing::PrintToString(opaque),
                      empty = TEST_PLUGINS "/empty",
                      file = "/lib/RepositoryHandler.so: ", loading = "3 (snapshot) EXCEPTION: dlopen error: ";
    setenv("RECORDED_CALLS", calls.c_str(), 1);
    const std::pair<std::string, std::string> homes[] = {
        {TEST_PLUGINS "/recording", ""},
        {TEST_PLUGINS "/recording", ""},
        {"", loading + "REPOSITORY_HANDLER_HOME is not set\n"},
        {std::string(999, 'x'), loading + "REPOSITORY_HANDLER_HOME is too long\n"},
        {"/none", loading + "/none" + file + "cannot open shared object file: No such file or directory\n"},
        {empty, "3 (snapshot) EXCEPTION: dlsym error initTask: " + empty + file + "undefined symbol: <name>_\n"},
    };
    for (const auto& [home, error] : homes) {
        home.empty() ? unsetenv("REPOSITORY_HANDLER_HOME") : setenv("REPOSITORY_HANDLER_HOME", home.c_str(), 1);
        flag = !flag;
        for (const auto& [name, args, call, answer, failure, trace] : FUNCTIONS) {
            unlink(snapshotPath().c_str());
            Workplace::write(calls, "");
            EXPECT_EQ(call(), error.empty() ? answer : failure) << name;
            EXPECT_EQ(logged(), "7 called " + name + " with " + trace + "\n" + expand(error, {{"<name>", name}}));
            const std::string handedOn =
                expand(name + args, {{"(", ", "}, {")", ""}, {"\"", ""}, {"opaque", at}, {"flag", flag ? "1" : "0"}});
            EXPECT_EQ(Workplace::read(calls), error.empty() ? handedOn : "");
            EXPECT_FALSE(loaded(home)) << name;
        }
    }
    for (const std::string& listed : {std::to_string(getpid()) + " ", std::string("PATH=")}) {
        EXPECT_NE(Workplace::read(snapshotPath()).find(listed), std::string::npos);
    }
}

TEST_F(Facade, EndsThePluginsOwnExceptionsAndPassesOthersThrough) {
    setenv("REPOSITORY_HANDLER_HOME", TEST_PLUGINS "/failing", 1);
    EXPECT_TRUE(getLocation("R", "S", nullptr) == nullptr && createDirectory("R", "S", nullptr, false) == nullptr);
    EXPECT_EQ(logged(), "7 called getLocation with repository=R fileName=S\n"
                        "3 (snapshot) EXCEPTION: 100% %s of %n\n"
                        "7 (snapshot) called createDirectory with repository=R subDir=S\n"
                        "3 (snapshot) EXCEPTION: of a class of the plug-in\n");
    EXPECT_EQ(freeMount("R", "S"), 127) << "a symbol without an address";
    EXPECT_FALSE(loaded(TEST_PLUGINS "/failing"));
    EXPECT_THROW(unAge("R", "S"), int);
    EXPECT_EQ(logged().find("EXCEPTION"), std::string::npos);
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
    EXPECT_EQ(paths("", "1.2") + paths(nullptr, "1.2") + paths("/no/such/root", "1.2"), "|||");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(root), {}), 2);
}
