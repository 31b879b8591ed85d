#include "storestate/ModifyOptions.h"
#include "storestate/RecordFormat.h"
#include "storestate/TextFile.h"
#include "support/Testing.h"

#include <algorithm>
#include <array>
#include <sstream>

using namespace storestate;

namespace {

/** The tables below write ' for the double quote. */
std::string quoted(std::string text) {
    std::replace(text.begin(), text.end(), '\'', '"');
    return text;
}

/** Every line, in the order of writing. */
const std::string FULL =
    quoted("Version='3'\nOwnerDevice='PACS1'\nProcessMode='auto'\nStageState='online'\n"
           "Folder='Main [Folder] {2} |/\\^;:-_.,@$%#&*()'\nSourceDevice='CT'\nArchiveDevice='@Archive-@TOP'\n"
           "Derived='from a\tb; = 100%'\nSourceStudy=' 1.2.3 '\nStudyOwner='yes'\nRetrieved='yes'\n"
           "DontEdit='yes'\nDontDelete='yes'\nStagedDevices='a b'\nForwardDevices='x y'\n");
const std::string VERSION = "Version=\"0\"\n"; // the first line of a record that names none
const std::string REFUSED = "Unknown Exception: [1] Record of study S cannot carry ";

/** Reads lines into the record; returns what the reader reports. */
std::string read(StoreState& state, const std::string& lines) {
    testing::internal::CaptureStderr();
    RecordReader reader(state, stderr);
    for (std::string_view rest = lines; !rest.empty();) {
        reader.readLine(takePiece(rest));
    }
    return testing::internal::GetCapturedStderr();
}

/** Reads lines and applies options, each "<name> <value>|". Returns the reader's report, the record, and why it is
 * refused. */
std::string outcome(const std::string& lines, const std::string& options = "") {
    StoreState state("S", ".");
    const std::string report = read(state, lines);
    std::istringstream rest(options);
    for (std::string name, value; getline(rest, name, ' ') && getline(rest, value, '|');) {
        applyModifyOption(state, name.c_str(), value.c_str());
    }
    const std::string record = formatRecord(state);
    return report + record + thrown([&] { requireReadable(state, record); });
}

TEST(Record, LinesAreReadInAnyOrderAndWrittenInTheirOwn) {
    std::string reversed;
    for (std::string_view rest = FULL; !rest.empty();) {
        reversed = "# comment\n \t\r\n\n  #Version=\"9\"\n \t" + std::string(takePiece(rest)) + reversed;
    }
    StoreState state("S", ".");
    EXPECT_EQ(read(state, reversed), "");
    EXPECT_EQ(formatRecord(state), FULL);
    testing::internal::CaptureStdout();
    state.print(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), FULL);
}

TEST(Record, ValuesAreReadByTheirPatterns) {
    const struct {
        const char* name;
        std::string lines;
        std::string record; ///< without its version
        std::string report = "";
    } cases[] = {
        {"no known key", "ProcessMode = 'x'\nprocessmode='x'\n\xa0\xff\x85", "",
         "Invalid line: ProcessMode = 'x'\n\nInvalid line: processmode='x'\n\nInvalid line: \xa0\xff\x85\n"},
        {"a word without value becomes empty", "OwnerDevice='A'\nOwnerDevice=''\n", ""},
        {"no quote, no change", "StageState='A'\nStageState=x\nStageState=\n", "StageState='A'\n"},
        {"folder and texts without value stay",
         "Folder='B'\nFolder=''\nFolder='!'\nDerived='C'\nDerived=''\nSourceStudy='D'\nSourceStudy='\r\n",
         "Folder='B'\nDerived='C'\nSourceStudy='D'\n"},
        {"a list without names stays", "ForwardDevices='A'\nForwardDevices=''\nForwardDevices=' '\n",
         "ForwardDevices='A'\n"},
        {"a folder ends before other characters", "Folder='A!B'\n", "Folder='A'\n"},
        {"a word ends before a blank or NUL", std::string("SourceDevice='one two'\nProcessMode='A\0B'\n", 41),
         "ProcessMode='A'\nSourceDevice='one'\n"},
        {"closing quotes, too many", "SourceDevice='one''' rest\nDerived='A''\n", "SourceDevice='one'\nDerived='A'\n"},
        {"closing quotes, none", "Derived='closed\r'\r\nForwardDevices='a\tb\rc  d\r\nSourceStudy='last",
         "Derived='closed\r'\nSourceStudy='last'\nForwardDevices='a\tb\rc d'\n"},
        {"a line of two pieces", "Derived='open\r\n#" + std::string(1022, '#') + "SourceDevice='A'\n",
         "SourceDevice='A'\nDerived='open'\n"},
        {"flags", "DontEdit='yes'\nDontEdit='no'\nRetrieved='YES'\nDontDelete='yes \nStudyOwner='yess'\n",
         "DontDelete='yes'\n"},
    };
    for (const auto& [name, lines, record, report] : cases) {
        EXPECT_EQ(outcome(quoted(lines)), quoted(report) + VERSION + quoted(record)) << name;
    }
}

TEST(Record, LongListsTakeSeveralLines) {
    std::string lines;
    for (int i = 0; i < 96; ++i) {
        lines += (i % 32 == 0 ? "StagedDevices=\"Dev" : " Dev") + std::to_string(1000 + i);
        lines += i % 32 == 31 ? "\"\n" : ""; // 32 names have 255 characters
    }
    EXPECT_EQ(outcome(lines + lines), VERSION + lines);
}

TEST(Record, OptionsApplyInTheirOrder) {
    const std::array<const char*, 4> cases[] = {
        // records without their version
        {"texts", "Folder='F'\nDerived='D'\n", "-p p|-g g|-f f|-c c|-a a|-d |-y y|",
         "ProcessMode='p'\nStageState='g'\nFolder='f'\nSourceDevice='c'\nArchiveDevice='a'\nSourceStudy='y'\n"},
        {"flags", "DontEdit='yes'\n", "-U Yes|-D yes|-R yes|", "Retrieved='yes'\nDontDelete='yes'\n"},
        {"owned locally", "OwnerDevice='X'\n", "-O yes|", "StudyOwner='yes'\n"},
        {"not owned locally", "OwnerDevice='X'\nStudyOwner='yes'\n", "-O no|", "OwnerDevice='X'\n"},
        {"owner", "StudyOwner='yes'\nStagedDevices='a X b'\n", "-o X|", "OwnerDevice='X'\nStagedDevices='a b'\n"},
        {"no owner", "OwnerDevice='X'\n", "-o |", "StudyOwner='yes'\n"},
        {"owner is staged", "OwnerDevice='X'\n", "-s X|-s X|", "StudyOwner='yes'\nStagedDevices='X'\n"},
        {"owner is another", "OwnerDevice='X'\n", "-s Y|-r Z|-e Z|", "OwnerDevice='X'\nStagedDevices='Y'\n"},
        {"report only", "OwnerDevice='X'\nStagedDevices='X Y'\n", "-e X|", "StudyOwner='yes'\nStagedDevices='Y'\n"},
        {"removed", "OwnerDevice='a'\nStagedDevices='a b c'\nForwardDevices='a d'\n", "-r a|",
         "StudyOwner='yes'\nStagedDevices='c b'\nForwardDevices='d'\n"},
        {"forward", "", "-w A|-w A|-w B|", "ForwardDevices='A B'\n"},
        {"auto-forward devices", "", "-b ;;DEV1;A.B.C;P.P;.C;;Q.C;P.P;c.c;F.;X.CT|",
         "OwnerDevice='P'\nStagedDevices='Q'\nForwardDevices='A c F X'\n"},
        {"odd characters", "", "-c in'side|-d \xc3\xa4|-w tab\tcr\r#x=\\|",
         "SourceDevice='in'side'\nDerived='\xc3\xa4'\nForwardDevices='tab\tcr\r#x=\\'\n"},
        {"unknown", "", "--Folder x|-F x|--folder=y x|-fy x|--folder\t x|-f\t x|-- x|- x|", ""},
    };
    for (const auto& [name, before, options, after] : cases) {
        EXPECT_EQ(outcome(quoted(before), quoted(options)), VERSION + quoted(after)) << name;
    }
}

/** Loads and saves a record of the earlier generation. The registered devices are PACS1 (C), PACS2 (P) and WS1 (F). */
TEST(Conversion, AddsTheRegisteredDevicesAndTheLegacyList) {
    serverSetting("STORESTATE_TEST_SERVER");
    const Workplace place;
    const std::string version = "Version='1'\n";
    const std::string archive = "ArchiveDevice='@Archive-@TOP'\n";
    const struct {
        const char* name;
        std::string before;
        std::string list;
        std::string expected; ///< the record or the failure of save()
        bool listTaken = false;
    } cases[] = {
        {"list with comments and blanks", "", "  A  other words\r\n#B\r\n\r\n   \r\nC D\r\nA\r\n",
         version + "OwnerDevice='PACS1'\n" + archive + "StagedDevices='PACS2'\nForwardDevices='WS1 A C'\n", true},
        {"list and devices", "Version='abc'\nArchiveDevice='X'\nOwnerDevice='PACS2'\nForwardDevices='E A'\n", "A\nF",
         version + "OwnerDevice='PACS2'\nArchiveDevice='X'\nStagedDevices='PACS1'\nForwardDevices='E A WS1 F'\n", true},
        {"owned locally", "StudyOwner='yes'\n", "",
         version + archive + "StudyOwner='yes'\nStagedDevices='PACS1 PACS2'\nForwardDevices='WS1'\n", true},
        {"negative version", "Version='-9999999999'\n", "A\n", "Version='-2147483648'\n"},
        {"version of many digits", "Version='+2147483648x'\n", "A\n", "Version='2147483647'\n"},
        {"name that no record carries", "", "A\nB'\n", REFUSED + "ForwardDevices='B''."},
        {"list of zeros", "", std::string(2, '\0'), REFUSED + "ForwardDevices=''."},
    };
    for (const auto& [name, before, list, expected, listTaken] : cases) {
        SCOPED_TRACE(name);
        Workplace::write(place.record("S"), quoted(before));
        Workplace::write(place.legacyList("S"), quoted(list));
        const std::string refused = thrown([&] {
            StoreState state("S", "");
            EXPECT_TRUE(state.load());
            EXPECT_TRUE(state.save());
            EXPECT_EQ(std::filesystem::exists(place.legacyList("S")), !listTaken);
            Workplace::write(place.legacyList("S"), quoted(list));
            EXPECT_TRUE(state.save()) << "has not taken in the second list";
        });
        const std::string record = Workplace::read(place.record("S"));
        EXPECT_EQ(refused.empty() ? record : refused, quoted(expected));
        EXPECT_EQ(Workplace::read(place.legacyList("S")), quoted(list));
    }
}

} // namespace
