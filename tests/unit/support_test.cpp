#include "db/StringBuffer.h"
#include "support/CapturedSyslog.h"
#include "support/QXLogger.h"
#include "support/QXSemaphore.h"
#include "support/Testing.h"

#include <climits>
#include <iostream>
#include <thread>

template <class Exception>
static void expectRenderingOf(Exception& exception, const std::string& expected) {
    std::string replaced = "old";
    exception.toString(replaced);
    EXPECT_EQ(replaced, expected);
    EXPECT_EQ(std::unique_ptr<char[]>(exception.toString()).get(), expected);
    ::testing::internal::CaptureStdout();
    exception.print(std::cout);
    exception.print(stdout);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), expected + "\n" + expected + "\n");
}
static void expectRendering(QXException&& exception, const std::string& expected) {
    expectRenderingOf(exception, expected);
    expectRenderingOf<const QXException>(exception, expected);
}

/** Of somebody else's program. */
struct OwnException : QXException {
    void toString(std::string& out) override { out = "its own words"; }
};

TEST(QXException, RendersClassNumberAndMessage) {
    const std::string text(2000, 'x'), sentence = "ASSERT (a == b) in x.cpp at line -2000000000.";
    expectRendering(QXException(), "Unknown Exception: [1] Unknown exception");
    expectRendering(OwnException(), "its own words");
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
    {
        QXSemaphore semaphore("s", true);
        EXPECT_TRUE(semaphore.lock(-1) && semaphore.locked && held());
        EXPECT_FALSE(other.lockResource());
        other.unlock();
        EXPECT_TRUE(held()) << "not the holder";
    }
    EXPECT_TRUE(!held() && QXSemaphore("s", false).lock(5) && held()) << "autoUnlock decides whether it ends";
    for (bool* right : {&other.forceUnlock, &other.locked}) {
        *right = true;
        other.unlock();
        EXPECT_FALSE(held() || *right);
        EXPECT_TRUE(QXSemaphore("s", false).lock(0));
        other.unlock();
        EXPECT_TRUE(held()) << "the right to it is spent";
    }
    unlink(file.c_str());
    other.forceUnlock = true;
    EXPECT_EQ(thrown([&] { other.unlock(); }), "") << "already gone";
}

TEST_F(Semaphore, TimesOutAndWaits) {
    using namespace std::chrono;
    QXSemaphore semaphore("s", false);
    ASSERT_TRUE(other.lock(1));
    for (const int limit : {-1, 1}) {
        const auto start = steady_clock::now();
        EXPECT_EQ(thrown([&] { semaphore.lock(limit); }), "Timeout Exception: [1] Semaphore timed out");
        const auto waited = steady_clock::now() - start;
        EXPECT_TRUE(waited >= seconds(limit) && waited < seconds(limit + 2)) << waited.count();
    }
    std::thread holder([&] { usleep(300000), other.unlock(); });
    EXPECT_TRUE(semaphore.lock(0));
    holder.join();
}

TEST_F(Semaphore, TakesItsDirectoryAsToldAndReportsWhatTheSystemRefuses) {
    QXSemaphore nowhere("s", place.root + "/missing", true);
    EXPECT_EQ(thrown([&] { nowhere.lock(20); }),
              "IO Exception: [2] Creating semaphore failed: s [No such file or directory]");
    QXSemaphore moved("elsewhere", "/nowhere", true);
    moved.lockDir = place.locks();
    moved.name = "s";
    EXPECT_TRUE(moved.lockResource() && held());
    moved.unlock();
    EXPECT_FALSE(held());
    const size_t room = PATH_MAX - 1 - strlen("/semaphore_s") - place.locks().size();
    QXSemaphore longest("s", place.locks() + std::string(room, '/'), true);
    EXPECT_TRUE(longest.lockResource());
    longest.unlock();
    longest.lockDir += "/";
    EXPECT_EQ(thrown([&] { longest.lockResource(); }),
              "IO Exception: [36] Creating semaphore failed: s [File name too long]");
    std::filesystem::create_directory(file);
    QXSemaphore directory("s", true); // its destructor fails as unlock() does, and swallows that
    directory.forceUnlock = true;
    EXPECT_EQ(thrown([&] { directory.unlock(); }), "IO Exception: [21] Releasing semaphore failed: s [Is a directory]");
    EXPECT_TRUE(directory.forceUnlock);
    EXPECT_TRUE(QXSemaphore("s", "/given", false).lockDir == "/given" && other.lockDir == place.locks());
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
    { QXLogger silent("unused"); }
    EXPECT_EQ(syslogText, "") << "neither opened nor closed";
    for (const std::string row : {"128 ", "128 local0", "152 local3", "184 local7", "128 Local3", "128 local3 "}) {
        setenv("LOG_FACILITY", row.c_str() + 4, 1);
        QXLogger("me").debugLog("%s", "%d");
        EXPECT_EQ(std::exchange(syslogText, ""), "open me 1 " + row.substr(0, 3) + "\n7 %d\nclose\n") << row;
    }
    unsetenv("LOG_FACILITY");
    setenv("LOG_OPER_FACILITY", "local2", 1);
    QXLogger logger(nullptr);
    LOG_FACILITY& current = logger.currentFacility;
    EXPECT_EQ(current, FACILITY_NONE);
    logger.errorLog("%d", 1);
    logger.infoLog("2");
    logWith(logger, MODE_OPER_INFO, "%d", 3);
    logWith(logger, MODE_OPER_ERROR, "4");
    logger.debugLog("5");
    EXPECT_EQ(syslogText, "open unknown 1 128\n3 1\n6 2\nopen unknown 1 144\n6 3\n3 4\nopen unknown 1 128\n7 5\n");
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
