#include "support/Export.h"
#include "support/Testing.h"

#include <cstdarg>
#include <syslog.h>

static Log& captured = *new Log; // never destroyed: loggers write to the end

Log takeLog() {
    return std::exchange(captured, {});
}

extern "C" {
STORESTATE_EXPORT void openlog(const char* ident, int option, int facility) {
    EXPECT_EQ(option, LOG_PID);
    captured.emplace_back(OPENED, facility, ident);
}
STORESTATE_EXPORT void closelog() {
    captured.emplace_back(CLOSED, 0, "");
}
STORESTATE_EXPORT void vsyslog(int priority, const char* format, va_list args) {
    char text[4096];
    vsnprintf(text, sizeof text, format, args);
    captured.emplace_back(std::filesystem::exists(snapshotPath()) ? WRITTEN_BESIDE_SNAPSHOT : WRITTEN, priority, text);
}
}
