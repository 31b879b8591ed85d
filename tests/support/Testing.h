#ifndef TESTS_SUPPORT_TESTING_H
#define TESTS_SUPPORT_TESTING_H

#include "support/QXException.h"
#include "support/Workplace.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <tuple>
#include <vector>

/** How the QXException that `work` throws is rendered; empty when it throws none. */
inline std::string thrown(const std::function<void()>& work) try {
    return work(), "";
} catch (const QXException& failure) {
    return std::unique_ptr<char[]>(failure.toString()).get();
}

/** What has gone to the system log since the last time, for which a program with CapturedSyslog.cpp stands in. */
enum LogCall { OPENED, WRITTEN, WRITTEN_BESIDE_SNAPSHOT, CLOSED };
using Log = std::vector<std::tuple<LogCall, int, std::string>>; ///< with facility or priority, and identity or message
Log takeLog();

/** Keeps tables readable: puts the meaning of each mark, which the meaning itself does not contain, in its place. */
inline std::string expand(std::string text, const std::vector<std::pair<std::string, std::string>>& marks) {
    for (const auto& [mark, meaning] : marks) {
        for (size_t at; (at = text.find(mark)) != std::string::npos;) {
            text.replace(at, mark.size(), meaning);
        }
    }
    return text;
}

#endif
