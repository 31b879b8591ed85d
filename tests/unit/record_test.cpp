#include "storestate/ModifyOptions.h"
#include "storestate/RecordFormat.h"
#include "storestate/TextFile.h"
#include "support/Testing.h"

#include <sstream>

using namespace storestate;

static std::string text(const std::string& row) {
    return expand(row, {{"<1>", "Version='1'\n"},
                        {"<auto>", "OwnerDevice='PACS1'\nStagedDevices='PACS2'\nForwardDevices='WS1'\n"},
                        {"<no>", "Unknown Exception: [1] Record of study S cannot carry "},
                        {"<254>", std::string(254, 'v')},
                        {"<NUL>", std::string(1, '\0')},
                        {"'", "\""}});
}

/** A record with every line, as it is written. */
static const std::string FULL =
    text("Version='3'\nOwnerDevice='PACS1'\nProcessMode='auto'\nStageState='online'\n"
         "Folder='Main [Folder] {2} |/\\^;:-_.,@$%#&*()'\nSourceDevice='CT'\nArchiveDevice='@Archive-@TOP'\n"
         "Derived='from a\tb; = 100%'\nSourceStudy=' 1.2.3 '\nStudyOwner='yes'\nRetrieved='yes'\n"
         "DontEdit='yes'\nDontDelete='yes'\nStagedDevices='a b'\nForwardDevices='x y'\n");

/** A stored record, what is stored after a load and a save, and the options that change it in between. */
struct Row {
    std::string name, before; ///< before: "none": no record
    std::string after;        ///< the reader's complaints; the failure or the record; what is left of the legacy list
    std::string options = ""; ///< each "name value|"
    std::string legacyList = "";
};

class Record : public ::testing::Test {
protected:
    void expect(const std::vector<Row>& rows) const {
        for (const Row& row : rows) {
            SCOPED_TRACE(row.name);
            std::filesystem::remove_all(place.repository() + "/S");
            if (row.before != "none") {
                Workplace::write(place.record("S"), text(row.before));
            }
            if (!row.legacyList.empty()) {
                Workplace::write(place.legacyList("S"), text(row.legacyList));
            }
            ::testing::internal::CaptureStdout(), ::testing::internal::CaptureStderr();
            const std::string failure = thrown([&] {
                StoreState state("S", "");
                state.load();
                std::istringstream options(text(row.options));
                for (std::string name, value; getline(options, name, ' ') && getline(options, value, '|');) {
                    applyModifyOption(state, name.c_str(), OFString(value.data(), value.size()));
                }
                EXPECT_TRUE(state.save());
                EXPECT_FALSE(std::filesystem::exists(place.lockFile("S"))) << "given back by save()";
                state.print(stdout);
            });
            const std::string complaints = ::testing::internal::GetCapturedStderr();
            const std::string stored = failure.empty() ? Workplace::read(place.record("S")) : failure;
            EXPECT_EQ(::testing::internal::GetCapturedStdout() + failure, stored) << "printed as it is stored";
            EXPECT_EQ(complaints + stored + Workplace::read(place.legacyList("S")), text(row.after));
            EXPECT_EQ(std::filesystem::exists(place.repository() + "/S"), row.before != "none" || failure.empty());
            EXPECT_FALSE(std::filesystem::exists(place.lockFile("S")));
        }
    }

    Workplace place;
    StoreState state{"1.2", "."};
};

TEST_F(Record, LinesAreTakenByTheirPatternsInWhateverOrder) {
    std::string reversed;
    for (std::string_view rest = FULL; !rest.empty();) {
        reversed = "# \n \t\r\n\n  #Version='9'\n" + (" \t" + std::string(takePiece(rest))) + reversed;
    }
    expect({
        {"reversed, with comments and blanks", reversed, FULL},
        {"no known key", "<1>ProcessMode = 'x'\nprocessmode='x'\n\xa0\xff\x85",
         "Invalid line: ProcessMode = 'x'\n\nInvalid line: processmode='x'\n\nInvalid line: \xa0\xff\x85\n<1>"},
        {"no value: words become empty", "<1>OwnerDevice='A'\nOwnerDevice=''\nStageState=x\nStageState=\n", "<1>"},
        {"no value: texts and lists stay",
         "<1>Folder='B'\nFolder=''\nFolder='!'\nDerived='C'\nDerived=''\nSourceStudy='D'\nSourceStudy='\r\n"
         "ForwardDevices=''\nForwardDevices=' '\n",
         "<1>Folder='B'\nDerived='C'\nSourceStudy='D'\n"},
        {"ends before what the pattern does not take",
         "<1>Folder='A!B'\nSourceDevice='one two'\nArchiveDevice='<254>vw'\nDerived='<254>vw'\nProcessMode='A<NUL>B'\n",
         "<1>ProcessMode='A'\nFolder='A'\nSourceDevice='one'\nArchiveDevice='<254>v'\nDerived='<254>v'\n"},
        {"closing quotes, too many and none",
         "<1>SourceDevice='one''' rest\nDerived='closed\r'\r\nForwardDevices='a\tb\rc d\r\nSourceStudy='last",
         "<1>SourceDevice='one'\nDerived='closed\r'\nSourceStudy='last'\nForwardDevices='a\tb\rc d'\n"},
        {"a line of two pieces", "<1>Derived='open\r\n#<254><254><254><254>######SourceDevice='A'\n",
         "<1>SourceDevice='A'\nDerived='open'\n"},
        {"markings and lists on two lines",
         "<1>DontEdit='yes'\nDontEdit='no'\nRetrieved='YES'\nDontDelete='yes \nStudyOwner='yess'\n"
         "StagedDevices='a'\nStagedDevices='c  a",
         "<1>DontDelete='yes'\nStagedDevices='a c'\n"},
        {"version too high, with a rest", "Version='+2147483648x'\n", "Version='2147483647'\n"},
        {"version too low", "Version='-9999999999'\n", "Version='-2147483648'\n"},
    });
}

TEST_F(Record, OldOnesAreConvertedAndNewOnesMadeWithTheRegisteredDevices) {
    expect({
        {"new, with a list, which stays", "none", "<1><auto>A\n", "", "A\n"},
        {"new, with devices that are handed over", "none", "<1>ForwardDevices='W'\n", "-b W.F|"},
        {"list with comments and blanks", "",
         "<1>OwnerDevice='PACS1'\nArchiveDevice='@Archive-@TOP'\nStagedDevices='PACS2'\nForwardDevices='WS1 A C'\n", "",
         "  A  other words\r\n#B\r\n\r\n   \r\nC D\r\nA\r\n"},
        {"archive device, owner and list",
         "Version='abc'\nArchiveDevice='X'\nOwnerDevice='PACS2'\nForwardDevices='E A'\n",
         "<1>OwnerDevice='PACS2'\nArchiveDevice='X'\nStagedDevices='PACS1'\nForwardDevices='E A WS1 F'\n", "", "A\nF"},
        {"owned locally", "StudyOwner='yes'\n",
         "<1>ArchiveDevice='@Archive-@TOP'\nStudyOwner='yes'\nStagedDevices='PACS1 PACS2'\nForwardDevices='WS1'\n"},
        {"name that no record carries", "", "<no>ForwardDevices='B''.A\nB'\n", "", "A\nB'\n"},
        {"list of zeros", "", "<no>ForwardDevices=''.<NUL><NUL>", "", "<NUL><NUL>"},
        {"has a negative version", "Version='-1'\n", "Version='-1'\nA\n", "", "A\n"},
        {"nothing handed over", "<1>", "<1><auto>", "-b none|"},
        {"handed over in odd forms", "<1>", "<1>OwnerDevice='P'\nStagedDevices='Q'\nForwardDevices='A c F X'\n",
         "-b ;;DEV1;A.B.C;P.P;.C;;Q.C;P.P;c.c;F.;X.CT|"},
        {"handed over, owned locally", "<1>StudyOwner='yes'\n", "<1>StudyOwner='yes'\nStagedDevices='P'\n", "-b P.P|"},
    });
    Workplace::write(place.record("1.2"), "");
    state.autoForwardDevices.push_back(new StoreState::StoreDevice("F", ""));
    EXPECT_TRUE(state.load());
    EXPECT_TRUE(state.studyOwner) << "converted without an owner device";
}

TEST_F(Record, OptionsChangeItInTheirOrder) {
    expect({
        {"texts", "<1>Folder='F'\nDerived='D'\n",
         "<1>ProcessMode='p'\nStageState='g'\nFolder='f'\nSourceDevice='c'\nArchiveDevice='a'\nSourceStudy='y'\n",
         "-p p|-g g|-f f|-c c|-a a|-d |-y y|"},
        {"markings", "<1>DontEdit='yes'\n", "<1>Retrieved='yes'\nDontDelete='yes'\n", "-U Yes|-D yes|-R yes|"},
        {"owned locally", "<1>OwnerDevice='X'\n", "<1>StudyOwner='yes'\n", "-O yes|"},
        {"not owned locally", "<1>OwnerDevice='X'\nStudyOwner='yes'\n", "<1>OwnerDevice='X'\n", "-O no|"},
        {"owner", "<1>StudyOwner='yes'\nStagedDevices='a X b'\n", "<1>OwnerDevice='X'\nStagedDevices='a b'\n", "-o X|"},
        {"no owner", "<1>OwnerDevice='X'\n", "<1>StudyOwner='yes'\n", "-o |"},
        {"owner staged", "<1>OwnerDevice='X'\n", "<1>StudyOwner='yes'\nStagedDevices='X'\n", "-s X|-s X|"},
        {"other than the owner", "<1>OwnerDevice='X'\n", "<1>OwnerDevice='X'\nStagedDevices='Y'\n", "-s Y|-r Z|"},
        {"report only", "<1>OwnerDevice='X'\nStagedDevices='X Y'\n", "<1>StudyOwner='yes'\nStagedDevices='Y'\n",
         "-e X|"},
        {"removed", "<1>OwnerDevice='a'\nStagedDevices='a b c'\nForwardDevices='a d'\n",
         "<1>StudyOwner='yes'\nStagedDevices='c b'\nForwardDevices='d'\n", "-r a|"},
        {"forward", "<1>", "<1>ForwardDevices='A B'\n", "-w A|-w A|-w B|"},
        {"unknown", "<1>", "<1>", "--Folder x|-F x|--folder=y x|-fy x|--folder\t x|-f\t x|-- x|- x|"},
    });
    for (const char* option : {"-e", "-s", "-e", "-o", "-e", "-r"}) {
        applyModifyOption(state, option, "X");
        EXPECT_EQ(state.reportOnlyDevices.Contains("X"), option == std::string("-e")) << option;
    }
    for (const ModifyOption& option : modifyOptions()) {
        std::istringstream keys(option.keys);
        for (std::string key; keys >> key;) {
            EXPECT_NE(FULL.find("\n" + key + "=\""), FULL.npos) << key;
        }
    }
}

TEST_F(Record, RefusesWhatItWouldNotReadBack) {
    std::string options, full = "<1>"; // lines of exactly 255 characters
    for (int i = 0; i < 960; ++i) {
        const std::string name = "Dev" + std::to_string(1000 + i);
        options += "-w " + name + "|";
        full += (i % 32 == 0 ? "ForwardDevices='" : " ") + name + (i % 32 == 31 ? "'\n" : "");
    }
    expect({
        {"long lists, twice", full + full, full, options},
        {"longest and oddest devices", "<1>",
         "<1>ForwardDevices='a'\nForwardDevices='<254>'\nForwardDevices='tab\tcr\r #x=\\'\n",
         "-w a|-w <254>|-w tab\tcr\r|-w #x=\\|"},
        {"longest and oddest texts", "<1>",
         "<1>Folder='<254>v'\nSourceDevice='in'side'\nArchiveDevice='<254>v'\nDerived='\xc3\xa4 text'\n",
         "-c in'side|-f <254>v|-a <254>v|-d \xc3\xa4 text|"},
        {"tabulator in a word", "<1>", "<no>ProcessMode='tab\there'.", "-p tab\there|"},
        {"line break in a word", "<1>", "<no>StageState='x\nForwardDevices='evil''.", "-g x\nForwardDevices='evil'|"},
        {"quote in a text", "<1>", "<no>Derived='d'\nDerived='d'.", "-d d'\nDerived='d|"},
        {"NUL in a text", "<1>", "<no>SourceStudy='nul'.", "-y nul<NUL>here|"},
        {"device without a name", "<1>", "<no>ForwardDevices=''.", "-w a|-w |"},
        {"blank in a device, of a new record", "none", "<no>ForwardDevices='a b'.", "-b W.C|-w a b|"},
        {"device too long", "<1>", "<no>ForwardDevices='<254>vv'.", "-w <254>vv|"},
    });
}
