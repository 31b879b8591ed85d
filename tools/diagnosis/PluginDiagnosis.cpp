#include "diagnosis/PluginDiagnosis.h"

#include "repository/PluginLoader.h"
#include "repository/RepositoryHandler.h"
#include "support/QXException.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <exception>
#include <functional>
#include <iterator>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace storestate {
namespace {

/** Errors of file operations that are worth telling; others may be left over from anything that a plug-in does. */
constexpr int TELLING[] = {EACCES, EPERM,  EIO,    ESTALE, ENOTCONN, ETIMEDOUT, EHOSTDOWN,   ELOOP,
                           EMFILE, ENFILE, ENOSPC, EDQUOT, EROFS,    EMLINK,    ENAMETOOLONG};

std::string tellingText(int error) {
    const bool telling = std::find(std::begin(TELLING), std::end(TELLING), error) != std::end(TELLING);
    return telling ? std::string("the plug-in gave no directory: ") + strerror(error) : "";
}

const char* root() {
    const char* value = getenv("REPOSITORY_DICOM_DATA");
    return value != nullptr ? value : "";
}

/** Calls an entry point; whatever it throws is gone before the plug-in is unloaded. */
PluginAnswer ask(const char* symbol, const std::function<char*(void*)>& call) {
    PluginAnswer answer;
    void* plugin = nullptr;
    try {
        plugin = loadPlugin();
        void* address = resolveEntryPoint(plugin, symbol);
        errno = 0;
        const std::unique_ptr<char[]> directory(address != nullptr ? call(address) : nullptr);
        const int error = errno;
        (directory != nullptr ? answer.directory : answer.failure) =
            directory != nullptr ? directory.get() : tellingText(error);
    } catch (const QXException& failure) {
        answer.failure = failure.message.empty() ? "the plug-in failed" : failure.message;
    } catch (const std::exception& failure) {
        answer.failure = std::string("the plug-in threw what it must not: ") + failure.what();
    } catch (...) {
        answer.failure = "the plug-in threw what it must not";
    }
    if (plugin != nullptr) {
        dlclose(plugin);
    }
    return answer;
}

} // namespace

PluginAnswer askLocation(const std::string& study) {
    PluginAnswer answer = ask("getLocation_", [&](void* address) {
        return reinterpret_cast<decltype(getLocation_)*>(address)(root(), study.c_str(), nullptr);
    });
    const std::string fault = answer.failure.empty() ? repositoryFault() : "";
    return fault.empty() ? answer : PluginAnswer{"", fault};
}

PluginAnswer askToCreate(const std::string& study) {
    PluginAnswer answer = ask("createDirectory_", [&](void* address) {
        return reinterpret_cast<decltype(createDirectory_)*>(address)(root(), study.c_str(), nullptr, false);
    });
    if (answer.directory.empty() && answer.failure.empty()) {
        const std::string fault = repositoryFault();
        answer.failure = fault.empty() ? "the plug-in gave no directory and no reason" : fault;
    }
    return answer;
}

std::string repositoryFault() {
    const std::string what = std::string("the repository ") + root() + ": ";
    struct stat status;
    if (stat(root(), &status) != 0 || access(root(), X_OK) != 0) {
        return what + strerror(errno);
    }
    return S_ISDIR(status.st_mode) ? "" : what + strerror(ENOTDIR);
}

} // namespace storestate
