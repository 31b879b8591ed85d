#include "repository/PluginLoader.h"

#include "support/QXException.h"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>

namespace storestate {
namespace {

constexpr size_t PATH_BUFFER = 1024; ///< for the plug-in's path with its terminator

} // namespace

void* loadPlugin() {
    const char* home = getenv("REPOSITORY_HANDLER_HOME");
    if (home == nullptr) {
        throw QXException("dlopen error: %s", "REPOSITORY_HANDLER_HOME is not set");
    }
    char path[PATH_BUFFER];
    const int length = snprintf(path, sizeof path, "%s%s", home, PLUGIN_FILE);
    if (length < 0 || static_cast<size_t>(length) >= sizeof path) {
        throw QXException("dlopen error: %s", "REPOSITORY_HANDLER_HOME is too long");
    }
    void* handle = dlopen(path, RTLD_LAZY);
    if (handle == nullptr) {
        throw QXException("dlopen error: %s", dlerror());
    }
    return handle;
}

void* resolveEntryPoint(void* plugin, const char* symbol) {
    void* address = dlsym(plugin, symbol);
    const char* error = dlerror();
    if (error != nullptr) {
        throw QXException("dlsym error initTask: %s", error);
    }
    return address;
}

} // namespace storestate
