#include "db/StringBuffer.h"
#include "support/CapturedSyslog.h"
#include "support/QXException.h"
#include "support/QXLogger.h"
#include "support/QXSemaphore.h"
#include "support/Workplace.h"

#include <cerrno>
#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <sys/wait.h>

TEST(QXException, RendersClassNumberAndMessage) {
    const std::string text(2000, 'x');
    const std::string sentence = "ASSERT (a == b) in x.cpp at line -2000000000.";
    const std::pair<std::shared_ptr<QXException>, std::string> cases[] = {
        {std::make_shared<QXException>(), "Unknown Exception: [1] Unknown exception"},
        {std::make_shared<QXException>(-7), "Unknown Exception: [-7] Unknown exception"},
        {std::make_shared<QXException>("%d%%", 5), "Unknown Exception: [1] 5%"},
        {std::make_shared<QXException>(2, "%s", text.c_str()), "Unknown Exception: [2] " + text.substr(0, 1023)},
        {std::make_shared<QXException>(3, text), "Unknown Exception: [3] " + text},
        {std::make_shared<QXIOException>(13, "100%s"), "IO Exception: [13] 100%s"},
        {std::make_shared<QXTimeoutException>(1, "late"), "Timeout Exception: [1] late"},
        {std::make_shared<QXAssertionException>("a == b", -2000000000L, "x.cpp"), sentence},
        {std::make_shared<QXAssertionException>("a == b", -2000000000L, "x.cpp", "%s!", "no"), sentence + "\nno!"},
    };
    for (const auto& [exception, expected] : cases) {
        std::string replaced = "old";
        exception->toString(replaced);
        EXPECT_EQ(replaced, expected);
        EXPECT_EQ(std::unique_ptr<char[]>(exception->toString()).get(), expected);
        std::ostringstream stream;
        exception->print(stream);
        char printed[4096] = "";
        FILE* file = fmemopen(printed, sizeof printed, "w");
        exception->print(file);
        fclose(file);
        EXPECT_EQ(stream.str(), expected + "\n");
        EXPECT_EQ(printed, expected + "\n");
    }
}

class Semaphore : public ::testing::Test {
protected:
    bool held() const { return access((place.locks() + "/semaphore_s").c_str(), F_OK) == 0; }

    Workplace place;
    QXSemaphore other{"s", "", false};
};

TEST_F(Semaphore, IsGivenBackByItsHolderOrByForceExactlyOnce) {
    {
        QXSemaphore semaphore("s", true);
        EXPECT_TRUE(semaphore.lock(-1) && semaphore.locked && held());
        EXPECT_FALSE(other.lockResource());
        other.unlock();
        EXPECT_TRUE(held()) << "not the holder";
    }
    EXPECT_FALSE(held()) << "autoUnlock";
    { EXPECT_TRUE(QXSemaphore("s", false).lock(5)); }
    EXPECT_TRUE(held()) << "outlives its object";
    other.forceUnlock = true;
    other.unlock();
    EXPECT_FALSE(held() || other.forceUnlock);
    EXPECT_TRUE(QXSemaphore("s", false).lock(0));
    other.unlock();
    EXPECT_TRUE(held()) << "force is spent";
    unlink((place.locks() + "/semaphore_s").c_str());
    other.forceUnlock = true;
    EXPECT_NO_THROW(other.unlock()) << "already gone";
}

TEST_F(Semaphore, TimesOutAndWaits) {
    ASSERT_TRUE(other.lock(1));
    QXSemaphore semaphore("s", false);
    for (const auto& [limit, atLeast, atMost] : {std::tuple(-1, 0, 9), std::tuple(1, 1000, 2200)}) {
        const auto start = std::chrono::steady_clock::now();
        try {
            semaphore.lock(limit);
            ADD_FAILURE() << limit;
        } catch (const QXTimeoutException& late) {
            EXPECT_EQ(late.message, "Semaphore timed out");
            EXPECT_EQ(late.errorNumber, 1);
        }
        const std::chrono::duration<double, std::milli> waited = std::chrono::steady_clock::now() - start;
        EXPECT_GE(waited.count(), atLeast);
        EXPECT_LT(waited.count(), atMost + 1000.0) << "on a busy machine";
    }
    if (fork() == 0) {
        usleep(300000);
        other.unlock();
        _exit(0);
    }
    EXPECT_TRUE(semaphore.lock(0));
    wait(nullptr);
}

TEST_F(Semaphore, ReportsWhatTheSystemRefuses) {
    QXSemaphore nowhere("s", place.root + "/missing", true);
    try {
        nowhere.lock(20);
        ADD_FAILURE();
    } catch (const QXIOException& failure) {
        EXPECT_EQ(failure.errorNumber, ENOENT);
        EXPECT_EQ(failure.message, "Creating semaphore failed: s [No such file or directory]");
    }
    std::filesystem::create_directory(place.locks() + "/semaphore_d");
    QXSemaphore directory("d", true); // its destructor fails as unlock() does, and swallows that
    directory.forceUnlock = true;
    try {
        directory.unlock();
        ADD_FAILURE();
    } catch (const QXIOException& failure) {
        EXPECT_EQ(failure.errorNumber, EISDIR);
        EXPECT_EQ(failure.message, "Releasing semaphore failed: d [Is a directory]");
    }
    EXPECT_TRUE(directory.forceUnlock);
}

TEST_F(Semaphore, TakesItsDirectoryFromTheArgumentTheEnvironmentOrHere) {
    EXPECT_EQ(QXSemaphore("s", "/given", false).lockDir, "/given");
    EXPECT_EQ(QXSemaphore("s", false).lockDir, place.locks());
    setenv("LOCK_VAR", "", 1);
    EXPECT_EQ(QXSemaphore("s", false).lockDir, "");
    unsetenv("LOCK_VAR");
    EXPECT_EQ(QXSemaphore("s", false).lockDir, ".");
}

static void logWith(QXLogger& logger, LOG_MODE mode, const char* format, ...) {
    va_list args;
    va_start(args, format);
    logger.log(mode, format, args);
    va_end(args);
}

TEST(QXLogger, OpensTheFacilityThatTheModeAndTheEnvironmentSay) {
    using Calls = std::vector<std::string>;
    { QXLogger silent("unused"); }
    EXPECT_EQ(syslogCalls, Calls()) << "neither opened nor closed";
    const std::pair<const char*, int> facilities[] = {{nullptr, 128},  {"local0", 128}, {"local3", 152},
                                                      {"local7", 184}, {"Local3", 128}, {"local3 ", 128},
                                                      {"local8", 128}, {"", 128}};
    for (const auto& [name, number] : facilities) {
        name != nullptr ? setenv("LOG_FACILITY", name, 1) : unsetenv("LOG_FACILITY");
        syslogCalls.clear();
        QXLogger("me").debugLog("%s", "%d");
        EXPECT_EQ(syslogCalls, (Calls{"open me 1 " + std::to_string(number), "7 %d", "close"})) << number;
    }
    syslogCalls.clear();
    setenv("LOG_FACILITY", "local1", 1);
    setenv("LOG_OPER_FACILITY", "local2", 1);
    QXLogger logger(nullptr);
    logger.errorLog("%d", 1);
    logger.infoLog("2");
    logWith(logger, MODE_OPER_INFO, "%d", 3);
    logWith(logger, MODE_OPER_ERROR, "4");
    logger.debugLog("5");
    EXPECT_EQ(syslogCalls, (Calls{"open unknown 1 136", "3 1", "6 2", "open unknown 1 144", "6 3", "3 4",
                                  "open unknown 1 136", "7 5"}));
}

TEST(StringBuffer, IsChangedInPlaceAndStaysValid) {
    StringBuffer buffer;
    EXPECT_STREQ(buffer.text, "");
    auto* other = new StringBuffer;
    other->set("c");
    buffer.set("a").set(nullptr).append(".b").append("").append(other).append(static_cast<const char*>(nullptr));
    EXPECT_STREQ(buffer.append(static_cast<StringBuffer*>(nullptr)).text, "a.bc");
    EXPECT_STREQ(buffer.replace('.', '/').replace('\0', 'x').text, "a/bc");
    EXPECT_STREQ(buffer.truncate(5), "a/bc");
    EXPECT_STREQ(buffer.truncate(1), "a/b");
    EXPECT_STREQ(buffer.truncate(3), "");
}
