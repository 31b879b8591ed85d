#include "check/Parts.h"
#include "diagnosis/PluginDiagnosis.h"
#include "repository/PluginLoader.h"
#include "storestate/Environment.h"
#include "studies/StudyList.h"
#include "support/QXException.h"

#include <unistd.h>

namespace storestate {
namespace {

constexpr char VARIABLE[] = "REPOSITORY_HANDLER_HOME";
constexpr char REPAIR[] =
    "no record can be read or saved: repair what the message names; if that is RepositoryHandler.so, set the variable "
    "to the directory above lib, or install the plug-in there";
constexpr size_t VISITS = 100; ///< directories to visit at most in search of a study that the plug-in knows

/** Calls createDirectory_ for a study that exists, which changes nothing, and compares the results. */
Finding tryStudy(const std::string& study, const std::string& directory) {
    const std::string again = makeStudy(study);
    if (again == directory) {
        return {Verdict::GOOD, "plug-in", "finds " + study + " in " + directory, ""};
    }
    return {Verdict::BAD, "plug-in",
            "createDirectory_ names " + again + " for " + study + ", which lies in " + directory,
            "have it repaired: both functions must name the same directory"};
}

Finding tryCalls() {
    const StudyWalk walk = walkStudies(VISITS);
    for (const std::string& study : walk.studies) {
        const std::string directory = locateStudy(study);
        if (!directory.empty()) {
            return tryStudy(study, directory);
        }
    }
    if (walk.studies.empty()) {
        locateStudy("storestate-check");
        return {Verdict::GOOD, "plug-in", "answers; no study was found to ask for", ""};
    }
    return {Verdict::NOTE, "plug-in",
            "knows none of the " + std::to_string(walk.studies.size()) +
                " directories with records that were visited, such as " + walk.studies.front(),
            "fine if the plug-in does not name directories after studies; otherwise it is the wrong one"};
}

} // namespace

void checkPlugin(const Report& report) {
    const std::string path = environmentValue(VARIABLE) + std::string(PLUGIN_FILE);
    try {
        loadPlugin(); // never unloaded: this process ends soon
        report({Verdict::GOOD, VARIABLE, path + " can be loaded", ""});
        if (access(environmentValue("REPOSITORY_DICOM_DATA"), X_OK) == 0) { // otherwise another part reports it
            report(tryCalls());
        }
    } catch (const QXException& failure) {
        report({Verdict::BAD, VARIABLE, failure.message, REPAIR});
    }
}

} // namespace storestate
