// What the tool computes: texts, what a record's text and a refused value tell, and the effect of signals.
#include "commandline/CommandLine.h"
#include "diagnosis/Explanation.h"
#include "locks/StudyLocks.h"
#include "record/StoredRecord.h"
#include "storestate/ModifyOptions.h"
#include "storestate/RecordFormat.h"
#include "support/Testing.h"
#include "terminal/Interruption.h"
#include "terminal/Text.h"

#include <clocale>
#include <csignal>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <set>

using namespace storestate;
using namespace std::string_literals;
using testing::HasSubstr;

namespace {

TEST(ToolText, ReplacesWhatControlsATerminal) {
    ASSERT_NE(setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    EXPECT_EQ(printable("plain ~ äÄ€𝄞"), "plain ~ äÄ€𝄞");
    EXPECT_EQ(printable("a\0\x1f\x7f\nb"s), "a????b") << "control characters";
    EXPECT_EQ(printable("\u0080\u009f\u00a0"), "??\u00a0") << "C1 control characters";
    EXPECT_EQ(printable("\u061b\u061c\u061d\u200d\u200e\u200f\u2010"), "\u061b?\u061d\u200d??\u2010") << "marks";
    EXPECT_EQ(printable("\u2027\u2028\u202e\u202f"), "\u2027??\u202f") << "overrides of the direction";
    EXPECT_EQ(printable("\u2065\u2066\u2069\u206a"), "\u2065??\u206a") << "isolates";
    EXPECT_EQ(printable("\x80z\xc1\x81ä\xe2\x82"), "?z??ä??") << "invalid UTF-8";
    EXPECT_EQ(jsonText({"\u202e\x1b\xff"}), "[\n  \"\\u202e\\u001b\\ufffd\"\n]\n");
}

TEST(ToolText, WritesAges) {
    EXPECT_EQ(ageText(-1), "in the future");
    EXPECT_EQ(ageText(120), "2 min");
    EXPECT_EQ(ageText(7199), "119 min");
    EXPECT_EQ(ageText(172800), "2 d");
}

std::string damageOf(const std::string& text) {
    StoreState state("-", ".");
    const std::string damage = readRecord(text, state).damage;
    return damage.substr(damage.find(": ") + 1);
}

TEST(ReadRecord, TellsDamage) {
    EXPECT_EQ(damageOf("Folder=\"F\""), "") << "whole, without the last line end";
    EXPECT_EQ(damageOf("# x\n \n"), "") << "comments alone";
    EXPECT_EQ(damageOf("x\nFolder=\"F\nodd\n"), "") << "invalid lines first and last";
    EXPECT_EQ(damageOf("Folder=\"F\nVersion=\"1\"\n"), "") << "an open quote in the middle";
    EXPECT_EQ(damageOf(""), " it is empty.");
    EXPECT_EQ(damageOf("Folder =\"F\"\nOwner=\"x\"\n"), " no line of it has a key of a record.");
    EXPECT_EQ(damageOf("x=\"1\"\n Folder=\n \n#\n"), " its last line, Folder=, lacks the closing quote.");
    EXPECT_EQ(damageOf("Folder=\"F\n"), " its last line, Folder=\"F, lacks the closing quote.");
    EXPECT_EQ(damageOf("Version=\"1\"\n\0"s), " it has NUL characters.");
}

/** What the tool says of a record that got this value from the option; empty when a record can carry it. */
std::string refusal(const ModifyOption& option, const std::string& value) {
    StoreState state("-", ".");
    const bool takesTypes = option.longName == "--autodevice"s;
    option.apply(state, (value + (takesTypes ? ".F" : "")).c_str());
    return valueRule(state);
}

bool mentions(const std::string& rule, const char* words) {
    return rule.find(words) != std::string::npos;
}

/** Holds each part of the rule to what the record does. Returns the key that the rule is about. */
std::string requireTrueRule(const ModifyOption& option) {
    const std::string rule = refusal(option, "a\"\nb");
    const bool isFolder = mentions(rule, "without accents");
    const bool refusesBlanks = mentions(rule, "no blanks") || mentions(rule, "without blanks");
    const std::string key = rule.substr(0, rule.find(" takes "));
    EXPECT_THAT(option.keys, HasSubstr(key)) << rule;
    EXPECT_THAT(rule, HasSubstr(isFolder ? "at most 255 letters" : "255 characters"));
    EXPECT_EQ(refusal(option, std::string(255, 'x')), "");
    EXPECT_EQ(refusal(option, std::string(256, 'x')), rule);
    EXPECT_EQ(refusal(option, "a b"), refusesBlanks ? rule : "");
    EXPECT_EQ(refusal(option, "ä"), isFolder ? rule : "");
    return key;
}

TEST(ValueRule, IsTrueForEachOption) {
    const std::set<std::string> storeNoValue = {"--setreportonly", "--removedevice"};
    std::set<std::string> explained;
    for (const ModifyOption& option : modifyOptions()) {
        SCOPED_TRACE(option.longName);
        if (option.isFlag || storeNoValue.count(option.longName) > 0) {
            EXPECT_EQ(refusal(option, "a\"\nb"), "");
        } else {
            explained.insert(requireTrueRule(option));
        }
    }
    for (const storestate::RecordProperty& property : recordProperties(StoreState("-", "."))) {
        const bool isNumberOrFlag =
            std::holds_alternative<int32_t>(property.value) || std::holds_alternative<bool>(property.value);
        EXPECT_EQ(explained.count(std::string(property.key)), isNumberOrFlag ? 0 : 1) << property.key;
    }
}

TEST(Interruption, LeavesIgnoredSignalsIgnored) {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        signal(number, SIG_IGN);
        deferSignals();
        raise(number);
        EXPECT_EQ(notedSignal(), 0) << strsignal(number);
        signal(number, SIG_DFL);
    }
}

TEST(Interruption, ASecondSignalEndsAtOnce) {
    const auto interrupt = [] {
        deferSignals();
        raise(SIGINT);
        raise(SIGTERM);
    };
    EXPECT_EXIT(interrupt(), testing::KilledBySignal(SIGTERM), "a second signal ends at once");
}

/** Runs the command line, then sends the process a signal; ends with the status of the command line. */
[[noreturn]] void interruptAfter(const std::vector<std::string>& words, int number) {
    const int status = runCommandLine(words);
    raise(number);
    exit(status);
}

TEST(Interruption, DoesNotChangeTheStatusOfWorkThatIsDone) {
    const Workplace workplace;
    Workplace::write(workplace.record("s"), "Version=\"1\"\n");
    const auto done = testing::ExitedWithCode(STATUS_DONE);
    EXPECT_EXIT(interruptAfter({"lock", "--allow-root", "free"}, SIGTERM), done, "");
    EXPECT_EXIT(interruptAfter({"modify", "--allow-root", "s", "--", "-f", "F"}, SIGINT), done, "");
    EXPECT_EXIT(interruptAfter({"convert", "--allow-root", "s"}, SIGHUP), done, "");
}

} // namespace
