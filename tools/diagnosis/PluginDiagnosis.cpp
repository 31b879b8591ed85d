#include "diagnosis/PluginDiagnosis.h"

#include "files/Files.h"
#include "repository/PluginLoader.h"
#include "repository/RepositoryHandler.h"
#include "storestate/Environment.h"
#include "support/QXException.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <exception>
#include <functional>
#include <iterator>
#include <memory>
#include <sys/stat.h>

namespace storestate {
namespace {

/** Errors worth reporting if a plug-in returns null. Any other may be a remainder that has nothing to do with it. */
constexpr int REPORTED_ERRORS[] = {EACCES, EPERM,  EIO,    ESTALE, ENOTCONN, ETIMEDOUT, EHOSTDOWN,   ELOOP,
                                   EMFILE, ENFILE, ENOSPC, EDQUOT, EROFS,    EMLINK,    ENAMETOOLONG};

const char* root() {
    return environmentValue("REPOSITORY_DICOM_DATA");
}

/** Why the repository's root cannot be searched; empty if it can. */
std::string rootFault() {
    std::string fault = accessFault(root(), X_OK);
    struct stat status;
    if (fault.empty() && stat(root(), &status) == 0 && !S_ISDIR(status.st_mode)) {
        fault = std::string(root()) + ": " + strerror(ENOTDIR);
    }
    return fault.empty() ? "" : "the repository " + fault;
}

/** The result of an entry point; empty: null without an error. Destroys an exception before it unloads the plug-in. */
std::string ask(const char* symbol, const std::function<char*(void*)>& call) {
    std::string directory;
    std::string failure;
    void* plugin = loadPlugin();
    try {
        void* address = resolveEntryPoint(plugin, symbol);
        errno = 0;
        const std::unique_ptr<char[]> returned(address != nullptr ? call(address) : nullptr);
        const int error = errno;
        if (returned != nullptr) {
            directory = returned.get();
        } else if (std::count(std::begin(REPORTED_ERRORS), std::end(REPORTED_ERRORS), error) > 0) {
            failure = std::string("the plug-in returned no directory: ") + strerror(error);
        }
    } catch (const QXException& thrown) {
        failure = thrown.message.empty() ? "the plug-in failed" : thrown.message;
    } catch (const std::exception& thrown) {
        failure = std::string("the plug-in threw an exception that it must not throw: ") + thrown.what();
    } catch (...) {
        failure = "the plug-in threw an exception that it must not throw";
    }
    dlclose(plugin);
    if (directory.empty() && failure.empty()) {
        failure = rootFault();
    }
    if (!failure.empty()) {
        throw QXException(1, failure);
    }
    return directory;
}

} // namespace

std::string locateStudy(const std::string& study) {
    return ask("getLocation_", [&](void* address) {
        return reinterpret_cast<decltype(getLocation_)*>(address)(root(), study.c_str(), nullptr);
    });
}

std::string makeStudy(const std::string& study) {
    std::string directory = ask("createDirectory_", [&](void* address) {
        return reinterpret_cast<decltype(createDirectory_)*>(address)(root(), study.c_str(), nullptr, false);
    });
    if (directory.empty()) {
        throw QXException(1, "%s", "the plug-in returned no directory and no reason");
    }
    return directory;
}

} // namespace storestate
