#include "db/StringBuffer.h"
#include "support/QXLogger.h"
#include "support/QXSemaphore.h"
#include "support/Testing.h"

#include <climits>
#include <iostream>
#include <syslog.h>
#include <thread>

/** Each way to render it, with const and without, says the same. */
template <class Exception>
static void expectRendering(Exception&& exception, const std::string& expected) {
    std::string replaced = "old";
    exception.toString(replaced);
    EXPECT_EQ(replaced, expected);
    EXPECT_EQ(std::unique_ptr<char[]>(exception.toString()).get(), expected);
    ::testing::internal::CaptureStdout();
    exception.print(std::cout), exception.print(stdout);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), expected + "\n" + expected + "\n");
    if constexpr (!std::is_const_v<std::remove_reference_t<Exception>>) {
        expectRendering(static_cast<const QXException&>(exception), expected);
    }
}

/** Of somebody else's program. */
struct OwnException : QXException {
    void toString(std::string& out) override { out = "its own words"; }
};

TEST(QXException, RendersClassNumberAndMessage) {
    const std::string text(2000, 'x'), sentence = "ASSERT (a == b) in x.cpp at line -2000000000.";
    expectRendering(QXException(), "Unknown Exception: [1] Unknown exception");
    expectRendering<QXException>(OwnException(), "its own words");
    expectRendering(QXException(-7), "Unknown Exception: [-7] Unknown exception");
    expectRendering(QXException("%d%%", 5), "Unknown Exception: [1] 5%");
    expectRendering(QXException(2, "%s", text.c_str()), "Unknown Exception: [2] " + text.substr(0, 1023));
    expectRendering(QXException(3, text), "Unknown Exception: [3] " + text);
    expectRendering(QXIOException(13, "100%s"), "IO Exception: [13] 100%s");
    expectRendering(QXTimeoutException(1, "late"), "Timeout Exception: [1] late");
    expectRendering(QXAssertionException("a == b", -2000000000L, "x.cpp"), sentence);
    expectRendering(QXAssertionException("a == b", -2000000000L, "x.cpp", "%s!", "no"), sentence + "\nno!");
}

class Semaphore : public ::testing::Test {
protected:
    bool held() const { return std::filesystem::exists(file); }
    static_assert(sizeof(QXSemaphore) == 2 * sizeof(std::string) + sizeof(void*), "the five fields, and no other");

    Workplace place;
    const std::string file = place.locks() + "/semaphore_s";
    QXSemaphore other{"s", "", false};
};

TEST_F(Semaphore, IsGivenBackByItsHolderOrByForceExactlyOnce) {
    EXPECT_TRUE(std::make_unique<QXSemaphore>("s", true)->lock(5));
    EXPECT_FALSE(held()) << "autoUnlock";
    EXPECT_TRUE(std::make_unique<QXSemaphore>("s", false)->lock(0));
    EXPECT_FALSE(other.lockResource());
    other.unlock();
    EXPECT_TRUE(held()) << "not the holder, which has ended without it";
    for (bool* right : {&other.forceUnlock, &other.locked}) {
        *right = true;
        other.unlock();
        EXPECT_FALSE(held());
        Workplace::write(file, "");
        other.unlock();
        EXPECT_TRUE(held()) << "the right to it is spent";
    }
    std::filesystem::remove(file);
    other.autoUnlock = other.forceUnlock = true;
    EXPECT_EQ(thrown([&] { other.unlock(); }), "") << "already gone";
    std::filesystem::create_directory(file);
    other.forceUnlock = true; // the destructor fails as unlock() does, and swallows that
    EXPECT_EQ(thrown([&] { other.unlock(); }), "IO Exception: [21] Releasing semaphore failed: s [Is a directory]");
    EXPECT_TRUE(other.forceUnlock);
}

TEST_F(Semaphore, TimesOutAndWaits) {
    ASSERT_TRUE(other.lock(1));
    const auto start = std::chrono::steady_clock::now();
    for (const int limit : {-1, -1, -1, -1, -1, -1, 1}) { // only the last one waits
        EXPECT_EQ(thrown([&] { QXSemaphore("s", false).lock(limit); }), "Timeout Exception: [1] Semaphore timed out");
    }
    const std::chrono::duration<double> waited = std::chrono::steady_clock::now() - start;
    EXPECT_NEAR(waited.count(), 1.95, 0.95);
    std::thread holder([&] { usleep(300000), other.unlock(); });
    EXPECT_TRUE(QXSemaphore("s", false).lock(0));
    holder.join();
}

TEST_F(Semaphore, TakesItsDirectoryAsTold) { // what the system refuses: see faults/
    other.lockDir += std::string(PATH_MAX - 1 - file.size(), '/');
    EXPECT_TRUE(other.lockResource());
    EXPECT_TRUE(held());
    other.lockDir += "/";
    EXPECT_EQ(thrown([&] { other.lock(20); }), "IO Exception: [36] Creating semaphore failed: s [File name too long]");
    setVariable("LOCK_VAR", "");
    EXPECT_EQ(QXSemaphore("s", false).lockDir, "");
    setVariable("LOCK_VAR", nullptr);
    EXPECT_EQ(QXSemaphore("s", false).lockDir, ".");
}

static void logWith(QXLogger& logger, LOG_MODE mode, const char* format, ...) {
    va_list args;
    va_start(args, format);
    logger.log(mode, format, args);
    va_end(args);
}

TEST(QXLogger, OpensTheFacilityThatTheModeAndTheEnvironmentSay) {
    { QXLogger silent("neither opened nor closed"); }
    const std::pair<const char*, int> facilities[] = {
        {"local0", LOG_LOCAL0}, {"local1", LOG_LOCAL1}, {"local2", LOG_LOCAL2}, {"local3", LOG_LOCAL3},
        {"local4", LOG_LOCAL4}, {"local5", LOG_LOCAL5}, {"local6", LOG_LOCAL6}, {"local7", LOG_LOCAL7},
        {"local8", LOG_LOCAL0}, {"Local3", LOG_LOCAL0}, {"local3 ", LOG_LOCAL0}};
    for (const auto& [name, facility] : facilities) {
        setVariable("LOG_FACILITY", name);
        QXLogger("me").debugLog("%s", "%d");
        EXPECT_EQ(takeLog(), (Log{{OPENED, facility, "me"}, {WRITTEN, LOG_DEBUG, "%d"}, {CLOSED, 0, ""}})) << name;
    }
    setVariable("LOG_FACILITY", nullptr), setVariable("LOG_OPER_FACILITY", "local2");
    QXLogger logger(nullptr);
    logger.errorLog("%d", 1), logger.infoLog("2");
    EXPECT_EQ(takeLog(), (Log{{OPENED, LOG_LOCAL0, "unknown"}, {WRITTEN, LOG_ERR, "1"}, {WRITTEN, LOG_INFO, "2"}}));
    logWith(logger, MODE_OPER_INFO, "%d", 3), logWith(logger, MODE_OPER_ERROR, "4");
    EXPECT_EQ(takeLog(), (Log{{OPENED, LOG_LOCAL2, "unknown"}, {WRITTEN, LOG_INFO, "3"}, {WRITTEN, LOG_ERR, "4"}}));
    logger.debugLog("5");
    EXPECT_EQ(takeLog(), (Log{{OPENED, LOG_LOCAL0, "unknown"}, {WRITTEN, LOG_DEBUG, "5"}}));
}

TEST(StringBuffer, IsChangedInPlaceAndStaysValid) {
    const char* const noText = nullptr;
    StringBuffer buffer, *const none = nullptr, *const other = &(new StringBuffer)->set("c");
    EXPECT_STREQ(buffer.text, "");
    buffer.set("a").set(noText).append(".b").append("").append(other).append(none);
    EXPECT_STREQ(buffer.append(noText).replace('.', '/').replace('\0', 'x').text, "a/bc");
    EXPECT_STREQ(buffer.truncate(5), "a/bc");
    EXPECT_STREQ(buffer.truncate(1), "a/b");
    EXPECT_STREQ(buffer.truncate(3), "");
}
