#include "repository/RepositoryFacade.h"

#include "repository/PluginLoader.h"
#include "repository/RepositoryHandler.h"
#include "repository/dumpPS.h"
#include "support/QXException.h"

#include <dlfcn.h>
#include <string>
#include <type_traits>

namespace storestate {
QXLogger facadeLogger("QXRepositoryHandlerIface");
} // namespace storestate

// The library itself does not use the exported name: the process may have another object of that name.
extern QXLogger rh_logger __attribute__((alias("_ZN10storestate12facadeLoggerE")));

using storestate::facadeLogger;

namespace {

/**
 * Loads the plug-in, passes the entry point's address to `call` and unloads the plug-in. No destructor unloads it,
 * because an exception that passes through may need its code.
 */
template <class Call>
void withEntryPoint(const char* symbol, Call call) {
    void* plugin = nullptr;
    try {
        plugin = storestate::loadPlugin();
        void* address = storestate::resolveEntryPoint(plugin, symbol);
        if (address != nullptr) {
            call(address);
        }
    } catch (const QXException& failure) {
        const std::string text = "EXCEPTION: " + failure.message;
        dumpPS();
        facadeLogger.errorLog("%s", text.c_str());
    }
    if (plugin != nullptr) {
        dlclose(plugin);
    }
}

template <class EntryPoint, class... Args>
auto callPlugin(const char* symbol, std::invoke_result_t<EntryPoint*, Args...> failureValue, Args... args) {
    auto result = failureValue;
    withEntryPoint(symbol, [&](void* address) { result = reinterpret_cast<EntryPoint*>(address)(args...); });
    return result;
}

} // namespace

int32_t unAge(const char* repository, const char* resource) {
    facadeLogger.debugLog("called unAge with repository=%s resource=%s", repository, resource);
    return callPlugin<decltype(unAge_)>("unAge_", 0, repository, resource);
}

int32_t freeMount(const char* repository, const char* subDirectory) {
    facadeLogger.debugLog("called freeMount with repository=%s and subDirectory=%s", repository, subDirectory);
    return callPlugin<decltype(freeMount_)>("freeMount_", 127, repository, subDirectory);
}

void checkOverload(const char* repository) {
    facadeLogger.debugLog("called checkOverload with repository=%s", repository);
    withEntryPoint("checkOverload_",
                   [&](void* address) { reinterpret_cast<decltype(checkOverload_)*>(address)(repository); });
}

void* listDirs(const char* repository, void* opaque, bool flag) {
    facadeLogger.debugLog("called listDirs with repository=%s", repository);
    return callPlugin<decltype(listDirs_)>("listDirs_", nullptr, repository, opaque, flag);
}

void* listFiles(const char* repository, void* opaque, bool flag) {
    facadeLogger.debugLog("called listFiles with repository=%s", repository);
    return callPlugin<decltype(listFiles_)>("listFiles_", nullptr, repository, opaque, flag);
}

int32_t removeResource(const char* repository, const char* resource) {
    facadeLogger.debugLog("called removeResource with repository=%s resource=%s", repository, resource);
    return callPlugin<decltype(removeResource_)>("removeResource_", -1, repository, resource);
}

int32_t checkResourceStatus(const char* repository, const char* resource) {
    facadeLogger.debugLog("called checkResourceStatus with repository=%s resource=%s", repository, resource);
    return callPlugin<decltype(checkResourceStatus_)>("checkResourceStatus_", -1, repository, resource);
}

int32_t getRepositoryStatus(const char* repository) {
    facadeLogger.debugLog("called getRepositoryStatus with repository=%s", repository);
    return callPlugin<decltype(getRepositoryStatus_)>("getRepositoryStatus_", -1, repository);
}

char* getLocation(const char* repository, const char* fileName, void* opaque) {
    facadeLogger.debugLog("called getLocation with repository=%s fileName=%s", repository, fileName);
    return callPlugin<decltype(getLocation_)>("getLocation_", nullptr, repository, fileName, opaque);
}

void* createLocation(const char* repository, const char* fileName, void* opaque, bool flag) {
    facadeLogger.debugLog("called createLocation with repository=%s fileName=%s", repository, fileName);
    return callPlugin<decltype(createLocation_)>("createLocation_", nullptr, repository, fileName, opaque, flag);
}

char* createDirectory(const char* repository, const char* subDir, void* opaque, bool flag) {
    facadeLogger.debugLog("called createDirectory with repository=%s subDir=%s", repository, subDir);
    return callPlugin<decltype(createDirectory_)>("createDirectory_", nullptr, repository, subDir, opaque, flag);
}
