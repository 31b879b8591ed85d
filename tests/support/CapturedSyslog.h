#ifndef TESTS_SUPPORT_CAPTUREDSYSLOG_H
#define TESTS_SUPPORT_CAPTUREDSYSLOG_H

#include <cstdarg>
#include <cstdio>
#include <string>
#include <unistd.h>
#include <vector>

/** What went to the system log, which this header stands in for in the program that includes it; never destroyed. */
inline std::vector<std::string>& syslogCalls = *new std::vector<std::string>;

/** Where a process's snapshot lies. */
inline std::string snapshotPath() {
    return "/tmp/error_ps." + std::to_string(getpid()) + ".txt";
}

extern "C" {
__attribute__((visibility("default"))) void openlog(const char* ident, int option, int facility) {
    syslogCalls.push_back("open " + std::string(ident) + " " + std::to_string(option) + " " + std::to_string(facility));
}
__attribute__((visibility("default"))) void closelog() {
    syslogCalls.emplace_back("close");
}
__attribute__((visibility("default"))) void vsyslog(int priority, const char* format, va_list args) {
    char text[4096];
    vsnprintf(text, sizeof text, format, args);
    const char* snapshot = access(snapshotPath().c_str(), F_OK) == 0 ? " (snapshot)" : "";
    syslogCalls.push_back(std::to_string(priority) + snapshot + " " + text);
}
}

#endif
