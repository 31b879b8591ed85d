#include "bulk/StudyWalk.h"
#include "check/CheckReport.h"
#include "diagnosis/PluginDiagnosis.h"
#include "repository/EntryPoints.h"
#include "repository/PluginLoader.h"
#include "support/QXException.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <unistd.h>

namespace storestate {
namespace {

namespace fs = std::filesystem;

constexpr char VARIABLE[] = "REPOSITORY_HANDLER_HOME";
constexpr char REPOSITORY[] = "REPOSITORY_DICOM_DATA";
constexpr size_t LOOKS = 100; ///< directories, to find a study that the plug-in knows

bool has(void* plugin, const char* symbol) {
    try {
        return resolveEntryPoint(plugin, symbol) != nullptr;
    } catch (const QXException&) {
        return false;
    }
}

bool checkEntryPoints(CheckReport& report, void* plugin) {
    std::string present;
    std::string missing;
    bool usable = true;
    for (const EntryPoint& point : ENTRY_POINTS) {
        const bool found = has(plugin, point.symbol);
        (found ? present : missing).append(" ").append(point.symbol);
        usable = usable && (found || !point.required);
    }
    const std::string text =
        "has" + (present.empty() ? " none" : present) + (missing.empty() ? "" : "; lacks" + missing);
    if (usable) {
        report.good("entry points", text);
    } else {
        report.bad("entry points", text, "the plug-in must have getLocation_ and createDirectory_: install another");
    }
    return usable;
}

/** What a call has failed with, as BAD; true when it has not. */
bool succeeded(CheckReport& report, const char* symbol, const PluginAnswer& answer) {
    if (!answer.failure.empty()) {
        report.bad(symbol, answer.failure,
                   "no record can be read or saved until the plug-in works: repair what it names, or install another");
    }
    return answer.failure.empty();
}

/** A study that is there already, so that making its directory changes nothing. */
void tryOnStudy(CheckReport& report, const std::string& study, const std::string& directory) {
    report.good("getLocation_", "finds " + study + " in " + directory);
    const PluginAnswer made = askToCreate(study);
    if (succeeded(report, "createDirectory_", made)) {
        if (made.directory == directory) {
            report.good("createDirectory_", "names the same directory");
        } else {
            report.bad("createDirectory_", "names " + made.directory + " for " + study + ", which lies in " + directory,
                       "the plug-in must answer the same directory twice: have it repaired");
        }
    }
}

/** No study to try it on: makes one, in a repository for this purpose that is gone afterwards. */
void tryOnNothing(CheckReport& report) {
    std::string pattern = setting(REPOSITORY) + "/.storestate-check.XXXXXX";
    errno = 0;
    if (mkdtemp(pattern.data()) == nullptr) {
        report.unknown("createDirectory_", "cannot be tried: " + pattern + ": " + strerror(errno),
                       "let the server's user write to the repository");
        return;
    }
    setenv(REPOSITORY, pattern.c_str(), 1);
    const PluginAnswer made = askToCreate("check");
    std::error_code ignored;
    const bool isThere = fs::is_directory(made.directory, ignored);
    fs::remove_all(pattern, ignored);
    if (succeeded(report, "createDirectory_", made)) {
        if (isThere) {
            report.good("createDirectory_", "makes a directory");
        } else {
            report.bad("createDirectory_", "names " + made.directory + ", but makes no directory there",
                       "no new study can be saved: have the plug-in repaired");
        }
    }
}

void tryCalls(CheckReport& report) {
    const StudyWalk walk = walkStudies(setting(REPOSITORY), LOOKS);
    for (const std::string& directory : walk.studies) {
        const std::string study = fs::path(directory).filename().string();
        const PluginAnswer answer = askLocation(study);
        if (!succeeded(report, "getLocation_", answer)) {
            return;
        }
        if (!answer.directory.empty()) {
            tryOnStudy(report, study, answer.directory);
            return;
        }
    }
    if (!succeeded(report, "getLocation_", askLocation("storestate-check"))) {
        return;
    }
    if (walk.studies.empty()) {
        report.good("getLocation_", "answers; no study was found to ask for");
    } else {
        report.note("getLocation_",
                    "knows none of the " + std::to_string(walk.studies.size()) +
                        " directories with records that were looked at, such as " + walk.studies.front(),
                    "fine if the plug-in does not name directories after studies; otherwise it is the wrong one");
    }
    tryOnNothing(report);
}

std::string loadingRemedy() {
    return setting(VARIABLE).empty() ? "set it to the directory whose lib holds RepositoryHandler.so"
           : access((setting(VARIABLE) + "/lib/RepositoryHandler.so").c_str(), R_OK) != 0
               ? "set it to the directory whose lib holds RepositoryHandler.so, readable for the server's user"
               : "install what the message names, for this architecture";
}

} // namespace

void checkPlugin(CheckReport& report) {
    void* plugin = nullptr;
    try {
        plugin = loadPlugin(); // never unloaded: this process ends soon
    } catch (const QXException& failure) {
        report.bad(VARIABLE, failure.message, loadingRemedy());
        return;
    }
    report.good(VARIABLE, setting(VARIABLE) + "/lib/RepositoryHandler.so can be loaded");
    if (checkEntryPoints(report, plugin) && repositoryFault().empty()) {
        tryCalls(report);
    }
}

} // namespace storestate
