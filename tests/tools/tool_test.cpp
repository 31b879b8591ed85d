// What the tool computes: texts, what a record's text and a refused value tell; and the effect of signals.
#include "diagnosis/Explanation.h"
#include "files/Files.h"
#include "record/StoredRecord.h"
#include "storestate/ModifyOptions.h"
#include "support/Export.h"
#include "support/Testing.h"
#include "terminal/Interruption.h"
#include "terminal/Text.h"

#include <clocale>
#include <csignal>
#include <dirent.h>
#include <dlfcn.h>
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

bool directoriesFail = false;

TEST(NamesIn, ReportsADirectoryThatCannotBeReadToItsEnd) {
    directoriesFail = true;
    EXPECT_EQ(thrown([] { namesIn("/"); }), "IO Exception: [5] Reading directory failed: / Input/output error");
    directoriesFail = false;
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
}

/** What the tool says of a record that got this value from the option; empty when a record can carry it. */
std::string refusal(const ModifyOption& option, const std::string& value) {
    StoreState state("-", ".");
    const bool takesTypes = option.longName == "--autodevice"s;
    option.apply(state, (value + (takesTypes ? ".F" : "")).c_str());
    return valueRule(state);
}

TEST(ValueRule, IsTrueForEachOption) {
    std::set<std::string> explained;
    for (const ModifyOption& option : modifyOptions()) {
        const std::string rule = refusal(option, "a\"\nb");
        if (rule.empty()) {
            continue; // it takes no value, or stores none
        }
        EXPECT_FALSE(option.isFlag);
        SCOPED_TRACE(option.longName + (": " + rule));
        const std::string key = rule.substr(0, rule.find(" takes "));
        EXPECT_THAT(rule, HasSubstr(" 255 "));
        const bool isFolder = rule.find("without accents") != std::string::npos;
        const bool refusesBlanks = rule.find("no blanks") != rule.find("without blanks"); // otherwise it has neither
        EXPECT_EQ(refusal(option, std::string(255, 'x')), "");
        EXPECT_EQ(refusal(option, std::string(256, 'x')), rule);
        EXPECT_EQ(refusal(option, "a b"), refusesBlanks ? rule : "");
        EXPECT_EQ(refusal(option, "ä"), isFolder ? rule : "");
        explained.insert(key);
    }
    EXPECT_EQ(explained.size(), 10U) << "keys with a text or a list";
}

TEST(Interruption, ASecondSignalEndsAtOnceAndIgnoredOnesStayIgnored) {
    const auto interrupt = [] {
        signal(SIGHUP, SIG_IGN);
        deferSignals();
        for (const int number : {SIGHUP, SIGINT, SIGTERM}) {
            raise(number);
        }
    };
    EXPECT_EXIT(interrupt(), testing::KilledBySignal(SIGTERM), "a second signal ends at once");
}

} // namespace

extern "C" STORESTATE_EXPORT struct dirent* readdir(DIR* directory) {
    errno = directoriesFail ? EIO : errno;
    const auto next = reinterpret_cast<struct dirent* (*)(DIR*)>(dlsym(RTLD_NEXT, "readdir64"));
    return directoriesFail ? nullptr : next(directory);
}
