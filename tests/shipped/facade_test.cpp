// The facade of the library as it ships, with plug-ins that throw its exceptions.
#include "repository/RepositoryFacade.h"
#include "support/Testing.h"

#include <dlfcn.h>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

const std::string RECORDING = TEST_PLUGINS "/recording";
const std::string EMPTY = TEST_PLUGINS "/empty";
const std::string FAILING = TEST_PLUGINS "/failing";

void* const opaque = reinterpret_cast<void*>(0xabc);
bool flag = false;

std::string taken(char* path) {
    const std::unique_ptr<char[]> owned(path);
    return path != nullptr ? path : "";
}

intptr_t asNumber(void* result) {
    return reinterpret_cast<intptr_t>(result);
}

int overload() {
    checkOverload("R");
    return 0;
}

/** The eleven functions. The results are those of the recording plug-in. */
const struct Function {
    std::string name;
    std::function<intptr_t()> call;
    intptr_t result;
    intptr_t failureValue;
    const char* trace;
    std::string recorded; ///< arguments; "flag" stands for the flag's value
} FUNCTIONS[] = {
    {"getLocation", [] { return taken(getLocation("R", "S", opaque)) == "R/S"; }, 1, 0, "repository=R fileName=S",
     "(R, S, 0xabc)"},
    {"createDirectory", [] { return taken(createDirectory("R", "S", opaque, flag)) == "R/S"; }, 1, 0,
     "repository=R subDir=S", "(R, S, 0xabc, flag)"},
    {"unAge", [] { return unAge("R", "S"); }, 1, 0, "repository=R resource=S", "(R, S)"},
    {"freeMount", [] { return freeMount("R", "S"); }, 2, 127, "repository=R and subDirectory=S", "(R, S)"},
    {"checkOverload", overload, 0, 0, "repository=R", "(R)"},
    {"listDirs", [] { return asNumber(listDirs("R", opaque, flag)); }, 3, 0, "repository=R", "(R, 0xabc, flag)"},
    {"listFiles", [] { return asNumber(listFiles("R", opaque, flag)); }, 4, 0, "repository=R", "(R, 0xabc, flag)"},
    {"removeResource", [] { return removeResource("R", "S"); }, 5, -1, "repository=R resource=S", "(R, S)"},
    {"checkResourceStatus", [] { return checkResourceStatus("R", "S"); }, 6, -1, "repository=R resource=S", "(R, S)"},
    {"getRepositoryStatus", [] { return getRepositoryStatus("R"); }, 7, -1, "repository=R", "(R)"},
    {"createLocation", [] { return asNumber(createLocation("R", "S", opaque, flag)); }, 8, 0, "repository=R fileName=S",
     "(R, S, 0xabc, flag)"},
};

class Facade : public testing::Test {
protected:
    Facade() {
        taken(getLocation("", "", nullptr)); // opens the log
        takeLog();
    }

    static bool isLoaded(const std::string& home) {
        void* handle = dlopen((home + "/lib/RepositoryHandler.so").c_str(), RTLD_LAZY | RTLD_NOLOAD);
        return handle != nullptr && dlclose(handle) == 0;
    }

    static std::string traceOf(const Function& function) {
        return "debug: called " + function.name + " with " + function.trace;
    }

    Workplace place;
};

TEST_F(Facade, PassesArgumentsAndResultsThrough) {
    const std::string calls = place.root + "/calls";
    setVariable("RECORDED_CALLS", calls.c_str());
    setVariable("REPOSITORY_HANDLER_HOME", RECORDING.c_str());
    for (const bool given : {false, true}) {
        flag = given;
        for (const Function& function : FUNCTIONS) {
            Workplace::write(calls, "");
            EXPECT_EQ(function.call(), function.result) << function.name;
            EXPECT_THAT(takeLog(), ElementsAre(traceOf(function)));
            EXPECT_EQ(Workplace::read(calls), function.name + expand(function.recorded, {{"flag", given ? "1" : "0"}}));
            EXPECT_FALSE(isLoaded(RECORDING)) << function.name;
        }
    }
    EXPECT_STREQ(rh_logger.ident, "QXRepositoryHandlerIface") << "the library's logger, not a copy";
}

TEST_F(Facade, ReportsWhatCannotBeLoaded) {
    const std::string tooLong(999, 'x');
    const std::pair<const char*, std::string> homes[] = {
        {nullptr, "dlopen error: REPOSITORY_HANDLER_HOME is not set"},
        {tooLong.c_str(), "dlopen error: REPOSITORY_HANDLER_HOME is too long"},
        {"/none",
         "dlopen error: /none/lib/RepositoryHandler.so: cannot open shared object file: No such file or directory"},
        {EMPTY.c_str(), "dlsym error initTask: " + EMPTY + "/lib/RepositoryHandler.so: undefined symbol: <name>_"},
    };
    for (const auto& [home, error] : homes) {
        setVariable("REPOSITORY_HANDLER_HOME", home);
        for (const Function& function : FUNCTIONS) {
            std::filesystem::remove(snapshotPath());
            EXPECT_EQ(function.call(), function.failureValue) << function.name;
            EXPECT_THAT(takeLog(), ElementsAre(traceOf(function), "error after snapshot: EXCEPTION: " +
                                                                      expand(error, {{"<name>", function.name}})));
            EXPECT_FALSE(isLoaded(EMPTY)) << function.name;
        }
    }
    EXPECT_THAT(Workplace::read(snapshotPath()), HasSubstr(std::to_string(getpid()) + " "));
    EXPECT_THAT(Workplace::read(snapshotPath()), HasSubstr("PATH="));
}

TEST_F(Facade, EndsThePluginsOwnExceptionsAndPassesOthersThrough) {
    setVariable("REPOSITORY_HANDLER_HOME", FAILING.c_str());
    EXPECT_EQ(getLocation("R", "S", nullptr), nullptr);
    EXPECT_EQ(createDirectory("R", "S", nullptr, false), nullptr);
    const Log log = takeLog();
    EXPECT_THAT(log, testing::Contains("error after snapshot: EXCEPTION: 100% %s of %n"));
    EXPECT_THAT(log, testing::Contains("error after snapshot: EXCEPTION: of a class of the plug-in"));
    EXPECT_EQ(freeMount("R", "S"), 127) << "a symbol without an address";
    EXPECT_FALSE(isLoaded(FAILING));
    takeLog();
    EXPECT_THROW(unAge("R", "S"), int);
    EXPECT_EQ(takeLog().size(), 1) << "the trace and no error";
    EXPECT_TRUE(isLoaded(FAILING)) << "the exception may need its code";
}

TEST_F(Facade, SuppliedPluginStaysInsideTheRepository) {
    const std::string repository = place.repository();
    const std::string path = repository + "/1.2";
    const std::string tooLong(300, '1');
    const char* const root = repository.c_str();
    Workplace::write(repository + "/file", "");
    EXPECT_EQ(getLocation(root, "1.2", nullptr), nullptr);
    EXPECT_EQ(taken(createDirectory(root, "1.2", nullptr, false)), path);
    EXPECT_EQ(taken(createDirectory(root, "1.2", nullptr, false)), path) << "there already";
    EXPECT_EQ(taken(getLocation(root, "1.2", nullptr)), path);
    const std::pair<const char*, const char*> refused[] = {
        {nullptr, "1.2"},       {"", "1.2"}, {"/none", "1.2"}, {root, ""},         {root, "."},
        {root, ".."},           {root, "/"}, {root, "file"},   {root, "../locks"}, {root, "1.2/x"},
        {root, tooLong.c_str()}};
    for (const auto& [given, study] : refused) {
        EXPECT_EQ(getLocation(given, study, nullptr), nullptr) << study;
        EXPECT_EQ(createDirectory(given, study, nullptr, false), nullptr) << study;
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(root), {}), 2);
}

} // namespace
