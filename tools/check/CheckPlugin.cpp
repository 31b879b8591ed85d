#include "check/CheckReport.h"
#include "repository/EntryPoints.h"
#include "repository/PluginLoader.h"
#include "support/QXException.h"

#include <dlfcn.h>

namespace storestate {
namespace {

constexpr char VARIABLE[] = "REPOSITORY_HANDLER_HOME";

bool has(void* plugin, const char* symbol) {
    try {
        return resolveEntryPoint(plugin, symbol) != nullptr;
    } catch (const QXException&) {
        return false;
    }
}

void checkEntryPoints(CheckReport& report, void* plugin) {
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
}

} // namespace

void checkPlugin(CheckReport& report) {
    try {
        void* plugin = loadPlugin();
        report.good(VARIABLE, setting(VARIABLE) + "/lib/RepositoryHandler.so can be loaded");
        checkEntryPoints(report, plugin);
        dlclose(plugin);
    } catch (const QXException& failure) {
        report.bad(VARIABLE, failure.message, "set it to the directory whose lib holds RepositoryHandler.so");
    }
}

} // namespace storestate
