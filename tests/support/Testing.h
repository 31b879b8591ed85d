#ifndef TESTS_SUPPORT_TESTING_H
#define TESTS_SUPPORT_TESTING_H

#include "support/QXException.h"
#include "support/Workplace.h"

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vector>

/** The rendering of the QXException that `work` throws; empty if it throws none. */
inline std::string thrown(const std::function<void()>& work) {
    std::string rendering;
    try {
        work();
    } catch (QXException& failure) {
        failure.toString(rendering);
    }
    return rendering;
}

/**
 * Calls of the system log since the last takeLog(), in a program that is linked with CapturedSyslog.cpp:
 * "open local0 as <identity>", "<priority>: <message>" or "<priority> after snapshot: <message>", and "close".
 */
using Log = std::vector<std::string>;
Log takeLog();

/** Replaces each mark in `text` by its meaning, which must not contain the mark. */
inline std::string expand(std::string text, const std::vector<std::pair<std::string, std::string>>& marks) {
    for (const auto& [mark, meaning] : marks) {
        for (size_t at = text.find(mark); at != std::string::npos; at = text.find(mark)) {
            text.replace(at, mark.size(), meaning);
        }
    }
    return text;
}

#endif
