#ifndef TESTS_SUPPORT_CAPTUREDSYSLOG_H
#define TESTS_SUPPORT_CAPTUREDSYSLOG_H

#include "support/Export.h"
#include "support/Testing.h"

#include <cstdarg>

/** Lines of what went to the system log, which this header stands in for in its program; never destroyed. */
inline std::string& syslogText = *new std::string;

extern "C" {
STORESTATE_EXPORT void openlog(const char* ident, int option, int facility) {
    syslogText += "open " + std::string(ident) + " " + std::to_string(option) + " " + std::to_string(facility) + "\n";
}
STORESTATE_EXPORT void closelog() { syslogText += "close\n"; }
STORESTATE_EXPORT void vsyslog(int priority, const char* format, va_list args) {
    char text[4096];
    vsnprintf(text, sizeof text, format, args);
    syslogText +=
        std::to_string(priority) + (access(snapshotPath().c_str(), F_OK) == 0 ? " (snapshot) " : " ") + text + "\n";
}
}

#endif
