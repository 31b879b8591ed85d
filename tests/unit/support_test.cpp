#include "db/StringBuffer.h"
#include "support/QXLogger.h"
#include "support/QXSemaphore.h"
#include "support/Testing.h"

#include <climits>
#include <iostream>
#include <thread>

using testing::ElementsAre;

namespace {

/** The rendering by each operation, a line each. The operations of a constant exception call the others. */
std::string renderings(const QXException& exception) {
    std::string replaced = "old text";
    exception.toString(replaced);
    const std::unique_ptr<char[]> copy(exception.toString());
    testing::internal::CaptureStdout();
    exception.print(std::cout);
    exception.print(stdout);
    return replaced + "\n" + copy.get() + "\n" + testing::internal::GetCapturedStdout();
}

TEST(QXException, EachOperationRendersClassNumberAndMessage) {
    const std::string longText(2000, 'x');
    const std::string assertion = "ASSERT (a == b) in x.cpp at line -2000000000.";
    const std::pair<std::shared_ptr<QXException>, std::string> cases[] = {
        {std::make_shared<QXException>(), "Unknown Exception: [1] Unknown exception"},
        {std::make_shared<QXException>(-7), "Unknown Exception: [-7] Unknown exception"},
        {std::make_shared<QXException>("%d%%", 5), "Unknown Exception: [1] 5%"},
        {std::make_shared<QXException>(2, "%s", longText.c_str()),
         "Unknown Exception: [2] " + longText.substr(0, 1023)},
        {std::make_shared<QXException>(3, longText), "Unknown Exception: [3] " + longText},
        {std::make_shared<QXIOException>(13, "100%s"), "IO Exception: [13] 100%s"},
        {std::make_shared<QXAssertionException>("a == b", -2000000000L, "x.cpp"), assertion},
        {std::make_shared<QXAssertionException>("a == b", -2000000000L, "x.cpp", "%s!", "no"), assertion + "\nno!"},
    };
    for (const auto& [exception, rendering] : cases) {
        const std::string line = rendering + "\n";
        EXPECT_EQ(renderings(*exception), line + line + line + line);
    }
}

class Semaphore : public testing::Test {
protected:
    static_assert(sizeof(QXSemaphore) == 2 * sizeof(std::string) + sizeof(void*), "five fields");

    Workplace place;
    const std::string file = place.locks() + "/semaphore_s";
    QXSemaphore semaphore{"s", "", false};
};

TEST_F(Semaphore, TimeoutMayBeNoneOrUnlimited) {
    ASSERT_TRUE(semaphore.lock(1));
    EXPECT_EQ(thrown([] { QXSemaphore("s", false).lock(-1); }), "Timeout Exception: [1] Semaphore timed out");
    std::thread holder([&] {
        usleep(300000);
        semaphore.unlock();
    });
    EXPECT_TRUE(QXSemaphore("s", false).lock(0));
    EXPECT_TRUE(std::filesystem::exists(file)) << "without autoUnlock the destructor does not release it";
    holder.join();
}

TEST_F(Semaphore, PathIsComposedAtEachAttempt) {
    semaphore.lockDir += std::string(PATH_MAX - 1 - file.size(), '/');
    EXPECT_TRUE(semaphore.lockResource());
    EXPECT_TRUE(std::filesystem::exists(file));
    semaphore.lockDir += "/";
    EXPECT_EQ(thrown([&] { semaphore.lock(20); }),
              "IO Exception: [36] Creating semaphore failed: s [File name too long]");
}

TEST_F(Semaphore, DirectoryIsThatOfTheEnvironmentElseTheCurrentOne) {
    setVariable("LOCK_VAR", "");
    EXPECT_EQ(QXSemaphore("s", false).lockDir, "");
    setVariable("LOCK_VAR", nullptr);
    EXPECT_EQ(QXSemaphore("s", false).lockDir, ".");
}

void logWith(QXLogger& logger, LOG_MODE mode, const char* format, ...) {
    va_list args;
    va_start(args, format);
    logger.log(mode, format, args);
    va_end(args);
}

TEST(Logger, FacilityIsThatOfTheEnvironmentElseLocal0) {
    const std::pair<const char*, std::string> facilities[] = {
        {"local0", "local0"}, {"local1", "local1"}, {"local2", "local2"},  {"local3", "local3"},
        {"local4", "local4"}, {"local5", "local5"}, {"local6", "local6"},  {"local7", "local7"},
        {"local8", "local0"}, {"Local3", "local0"}, {"local3 ", "local0"}, {nullptr, "local0"},
    };
    for (const auto& [value, facility] : facilities) {
        setVariable("LOG_FACILITY", value);
        QXLogger(nullptr).infoLog("message");
        EXPECT_THAT(takeLog(), ElementsAre("open " + facility + " as unknown", "info: message", "close"));
    }
}

TEST(Logger, ModeDecidesPriorityAndFacilityAlsoAfterTheDestructor) {
    setVariable("LOG_FACILITY", "local1");
    setVariable("LOG_OPER_FACILITY", "local2");
    QXLogger("neither opens nor closes the log");
    alignas(QXLogger) char memory[sizeof(QXLogger)];
    auto* logger = new (memory) QXLogger("me");
    logger->errorLog("%d", 1);
    logger->infoLog("%s", "%d");
    logWith(*logger, MODE_OPER_INFO, "%d", 3);
    logWith(*logger, MODE_OPER_ERROR, "4");
    logger->debugLog("5");
    logger->~QXLogger();
    logger->debugLog("late");
    EXPECT_THAT(takeLog(),
                ElementsAre("open local1 as me", "error: 1", "info: %d", "open local2 as me", "info: 3", "error: 4",
                            "open local1 as me", "debug: 5", "close", "open local1 as unknown", "debug: late"));
    EXPECT_FALSE(g_qxDebug || g_qxVerbose) << "flags at load";
}

TEST(Text, IsChangedInPlaceAndStaysValid) {
    const char* const noText = nullptr;
    StringBuffer* const noBuffer = nullptr;
    auto* const other = new StringBuffer; // append() deletes it
    other->set("c");
    StringBuffer buffer;
    EXPECT_STREQ(buffer.text, "");
    buffer.set("a").set(noText).append(".b").append("").append(noText).append(other).append(noBuffer);
    EXPECT_STREQ(buffer.text, "a.bc");
    EXPECT_STREQ(buffer.replace('.', '/').replace('\0', 'x').text, "a/bc");
    EXPECT_STREQ(buffer.truncate(5), "a/bc");
    EXPECT_STREQ(buffer.truncate(1), "a/b");
    EXPECT_STREQ(buffer.truncate(3), "");
}

} // namespace
