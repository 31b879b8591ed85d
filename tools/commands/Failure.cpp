#include "commands/Failure.h"

#include "repository/PluginLoader.h"
#include "support/QXException.h"
#include "terminal/Terminal.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <exception>

namespace storestate {

int complain(const std::string& study, const std::string& text, Status status) {
    const Style style(stderr);
    const char* overProgress = isTerminal(stderr) ? "\r\033[K" : "";
    fprintf(stderr, "%sstorestate: %s: %s\n", overProgress, printable(study).c_str(),
            style.bad(printable(text)).c_str());
    return status;
}

int guarded(const std::string& study, const std::function<int()>& work) {
    std::string text;
    Status status = STATUS_FAILED;
    try {
        return work();
    } catch (const QXTimeoutException& failure) {
        failure.toString(text);
        status = STATUS_TIMEOUT;
    } catch (const QXException& failure) {
        failure.toString(text);
    } catch (const std::exception& failure) {
        text = failure.what();
    }
    return complain(study, text, status);
}

void requirePlugin() {
    void* plugin = loadPlugin();
    try {
        resolveEntryPoint(plugin, "getLocation_");
    } catch (const QXException&) {
        dlclose(plugin);
        throw;
    }
    dlclose(plugin);
}

void saveOrThrow(StoreState& state) {
    errno = 0;
    if (!state.save()) {
        const int error = errno;
        throw QXIOException(error, std::string("Creating the temporary record file failed: ") + strerror(error));
    }
}

int combined(int before, int status) {
    if (before == STATUS_DONE || before == status) {
        return status;
    }
    return status == STATUS_DONE ? before : STATUS_FAILED;
}

} // namespace storestate
