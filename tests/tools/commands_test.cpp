// What the tool computes: ages, texts, lists, environments, modes and the state of a record.
#include "bulk/StudyList.h"
#include "commands/Failure.h"
#include "diagnosis/DatabaseDiagnosis.h"
#include "locks/Age.h"
#include "process/Identity.h"
#include "process/ServerEnvironment.h"
#include "record/RecordText.h"
#include "support/Testing.h"
#include "terminal/Progress.h"
#include "terminal/Suggestion.h"
#include "terminal/Text.h"

#include <nlohmann/json.hpp>

using namespace storestate;
using std::string;
using namespace std::string_literals;

/** Rows of "input -> wanted". */
template <class Function>
static void expectEach(const std::vector<string>& rows, Function function) {
    for (const string& row : rows) {
        const string input = row.substr(0, row.find(" -> "));
        EXPECT_EQ(input + " -> " + function(input), row);
    }
}

TEST(Tool, ReadsAges) {
    expectEach({"0s -> 0", "90s -> 90", "10m -> 600", "2h -> 7200", "3d -> 259200", "123456789s -> 123456789",
                "1234567890s -> -1", " -> -1", "10 -> -1", "m -> -1", "1w -> -1", "1mm -> -1", "-1m -> -1"},
               [](const string& text) { return std::to_string(parseAge(text).value_or(-1)); });
}

TEST(Tool, WritesAges) {
    expectEach({"-1 -> in the future", "0 -> 0 s", "59 -> 59 s", "60 -> 1 min", "3599 -> 59 min", "3600 -> 1 h 0 min",
                "12000 -> 3 h 20 min", "172799 -> 47 h 59 min", "172800 -> 2 d 0 h", "270000 -> 3 d 3 h"},
               [](const string& seconds) { return ageText(std::stoll(seconds)); });
}

TEST(Tool, TakesFromTextWhatSteersATerminal) {
    expectEach({"plain ~ äÄ€𝄞 -> plain ~ äÄ€𝄞", "a\x1f\x7f\nb -> a???b", "c1 \u009b\u0080\u00a0 -> c1 ??\u00a0",
                "\u061c\u200e\u200f\u202a\u202e\u2066\u2069|\u200d\u2065\u206a -> ???????|\u200d\u2065\u206a",
                "\x80\xff -> ??", "\xc1\x81 -> ??", "\xe0\x80\xaf -> ???", "\xf4\x90\x80\x80 -> ????", "\xe2\x82 -> ??",
                "\xe2z -> ?z", "\xc3\xa4\xf0\x8f\xbf\xbf -> ä????"},
               printable);
    EXPECT_EQ(jsonText({"\u202e\x1b\xff"}), "[\n  \"\\u202e\\u001b\\ufffd\"\n]\n");
}

TEST(Tool, QuotesForAShell) {
    expectEach({"1.2.840-a_b -> 1.2.840-a_b", " -> ''", "a b -> 'a b'", "$(x)' -> '$(x)'\\'''"}, shellWord);
}

TEST(Tool, GuessesWhatWasMeant) {
    const std::vector<string> names = {"show", "lock", "locks", "unlock", "--json"};
    expectEach({"SHOW ->  Did you mean show?", "shwo ->  Did you mean show?", "lcoks ->  Did you mean locks?",
                "unlok ->  Did you mean unlock?", "--jsonn ->  Did you mean --json?", "xy -> ", "--jxxx -> ",
                "abcd -> "},
               [&](const string& word) { return suggestion(word, names); });
}

TEST(Tool, FitsTheProgressBarToTheTerminal) {
    expectEach({"80 -> [####################....................] 50/100, 7 failed",
                "30 -> [#####.....] 50/100, 7 failed", "21 -> [.] 50/100, 7 failed", "20 -> 50/100, 7 failed",
                "10 -> 50/100, 7", "0 -> "},
               [](const string& width) { return progressLine(50, 7, 100, std::stoul(width)); });
}

TEST(Tool, CombinesStatuses) {
    expectEach({"00 -> 0", "03 -> 3", "30 -> 3", "33 -> 3", "34 -> 1", "10 -> 1"},
               [](const string& both) { return std::to_string(combined(both[0] - '0', both[1] - '0')); });
}

TEST(Tool, ReadsListsOfStudies) {
    expectEach({" -> ", "a\nb -> a|b|", "\xEF\xBB\xBFx -> x|", "a \t\r\n\n \t\n# no\n  #no\n b\n# -> a| b|",
                "a\xEF\xBB\xBF\n -> a\xEF\xBB\xBF|"},
               [](const string& text) {
                   string joined;
                   for (const string& study : parseStudyList(text)) {
                       joined += study + "|";
                   }
                   return joined;
               });
    EXPECT_NE(thrown([] { parseStudyList("a\0b"s); }), "");
}

static string joined(const Settings& settings) {
    string text;
    for (const auto& [name, value] : settings) {
        text += name + "=[" + value + "]";
    }
    return text;
}

TEST(Tool, ReadsEnvironmentFilesAsSystemdDoes) {
    expectEach({"A=1\nB=2 -> A=[1]B=[2]", "\n  A = 1 2 \t\r\n#B=1\n;C=1\n -> A=[1 2]", "A=\nB -> A=[]",
                "A=1\nA=2 -> A=[2]", "A=\"x  y \" \nB='\\n\"'# -> A=[x  y ]B=[\\n\"#]",
                "A=a\\ \nB=\\\"b -> A=[a ]B=[\"b]", "A=a\\\nb\nB=c -> A=[ab]B=[c]", "A=\"1\n2\"3\n -> A=[1\n23]",
                R"(A="\"\\\$\x" -> A=["\$\x])", "A=\"x\\\ny\" -> A=[xy]"},
               [](const string& text) { return joined(parseEnvironmentFile(text)); });
    EXPECT_EQ(joined(parseProcessEnvironment("A=1\0B=x=y\n\0odd\0C=\0"s)), "A=[1]B=[x=y\n]C=[]");
}

TEST(Tool, FindsTheUmaskThatFitsAMode) {
    const std::pair<mode_t, mode_t> rows[] = {{0666, 0},   {0664, 002}, {0644, 022},    {0640, 027},   {0660, 007},
                                              {0600, 077}, {0604, 072}, {0100644, 022}, {042770, 007}, {0400, 077}};
    for (const auto& [mode, wanted] : rows) {
        EXPECT_EQ(fittingUmask(mode), wanted) << std::oct << mode;
    }
}

TEST(Tool, TellsDamageFromTheEarlierGeneration) {
    const string damaged = "The record is damaged: ";
    const std::pair<string, std::vector<string>> rows[] = {
        {"",
         {"Folder=\"F\"", "Version=\"1\"\nFolder=\"F\"\n# end", "x\nFolder=\"F\"\n", "Folder=\"F\nVersion=\"1\"\n",
          "Folder=\"F\nodd\n", "Version=\"1\"\nNew=\"1\"\n", "Version=\"2\"\n"}},
        {"set: nothing", {"\n", "# x\n \n"}},
        {damaged + "it is empty.", {""}},
        {damaged + "no line of it has a key of a record.", {"x\n", "Folder =\"F\"\nOwnerDevices=\"x\"\n"}},
        {damaged + "its last line, Folder=, lacks the closing quote.", {"x=\"1\"\n Folder=\n \n#\n"}},
        {damaged + "its last line, Folder=\"F, lacks the closing quote.", {"Folder=\"F\n"}},
        {damaged + "it has NUL characters.", {"Version=\"1\"\n\0"s}},
        {"The record is of version 2, with keys that are not known here: New=\"1\".", {"Version=\"2\"\nNew=\"1\"\n"}},
    };
    for (const auto& [wanted, texts] : rows) {
        for (const string& text : texts) {
            const RecordText found = examineRecord(text);
            EXPECT_EQ(found.setsNothing ? "set: nothing" : found.objection(), wanted) << "for " << text;
        }
    }
    EXPECT_EQ(examineRecord(" a\r\nVersion=\"7\"\nb\n").invalidLines, (std::vector<string>{"a", "b"}));
}

TEST(Tool, HasARemedyForEachKindOfDatabaseError) {
    const std::vector<std::pair<unsigned int, string>> rows = {
        {2013, "lead to it"},       {1698, "(MYSQL_UNIX_PORT)"}, {1143, "GRANT SELECT"},
        {1040, "more connections"}, {1049, "server's database"}, {1054, "and SERVICE"},
        {1146, "of services"},      {2026, "(MYSQL_UNIX_PORT)"}, {2059, "native_password"},
        {3159, "transport off"},    {4711, "database's manual"}};
    for (const auto& [n, end] : rows) {
        EXPECT_NE((databaseRemedy(n) + "$").find(end + "$"), string::npos) << n;
    }
}
