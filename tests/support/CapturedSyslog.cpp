#include "support/Export.h"
#include "support/Testing.h"

#include <cstdarg>
#include <syslog.h>

namespace {

Log& captured = *new Log; // never destroyed: loggers write until the process ends

const std::string PRIORITIES[] = {"emergency", "alert", "critical", "error", "warning", "notice", "info", "debug"};

} // namespace

Log takeLog() {
    return std::exchange(captured, {});
}

extern "C" {
STORESTATE_EXPORT void openlog(const char* ident, int option, int facility) {
    EXPECT_EQ(option, LOG_PID);
    const int number = (facility - LOG_LOCAL0) / (LOG_LOCAL1 - LOG_LOCAL0);
    captured.push_back("open local" + std::to_string(number) + " as " + ident);
}

STORESTATE_EXPORT void closelog() {
    captured.emplace_back("close");
}

STORESTATE_EXPORT void vsyslog(int priority, const char* format, va_list args) {
    char text[4096];
    vsnprintf(text, sizeof text, format, args);
    const bool snapshotExists = std::filesystem::exists(snapshotPath());
    captured.push_back(PRIORITIES[priority] + (snapshotExists ? " after snapshot: " : ": ") + text);
}
}
