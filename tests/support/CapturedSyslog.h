/** What goes to the system log, for which a program with CapturedSyslog.cpp stands in. */
#ifndef TESTS_SUPPORT_CAPTUREDSYSLOG_H
#define TESTS_SUPPORT_CAPTUREDSYSLOG_H

#include <string>
#include <tuple>
#include <vector>

enum LogCall { OPENED, WRITTEN, WRITTEN_BESIDE_SNAPSHOT, CLOSED };
using Log = std::vector<std::tuple<LogCall, int, std::string>>; ///< with facility or priority, and identity or message

/** What has come since the last time. */
Log takeLog();

#endif
