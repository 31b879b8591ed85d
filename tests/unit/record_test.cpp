#include "storestate/RecordFormat.h"
#include "storestate/TextFile.h"
#include "support/QXException.h"

#include <gtest/gtest.h>

static void read(StoreState& state, std::string_view text) {
    RecordReader reader(state, stderr);
    while (!text.empty()) {
        reader.readLine(takePiece(text));
    }
}

/** A record with every line, as it is written. */
static const std::string FULL = R"record(Version="3"
OwnerDevice="PACS1"
ProcessMode="auto"
StageState="online"
Folder="Main [Folder] {2} |/\^;:-_.,@$%#&*()"
SourceDevice="CT"
ArchiveDevice="@Archive-@TOP"
Derived="from a	b's = c"
SourceStudy=" 1.2.3 "
StudyOwner="yes"
Retrieved="yes"
DontEdit="yes"
DontDelete="yes"
StagedDevices="a b"
ForwardDevices="x y"
)record";

TEST(Record, IsWrittenAsItWasReadInWhateverOrder) {
    StoreState state("1.2", ".");
    read(state, FULL);
    EXPECT_EQ(formatRecord(state), FULL);
    EXPECT_EQ(state.folder, "Main [Folder] {2} |/\\^;:-_.,@$%#&*()");
    EXPECT_TRUE(state.studyOwner && state.retrieved && state.dontEdit && state.dontDelete);
    EXPECT_EQ(state.version, 3);

    std::string reversed;
    for (std::string_view rest = FULL; !rest.empty();) {
        reversed = "# \n \t\r\n\n  #Version=\"9\"\n" + (" \t" + std::string(takePiece(rest))) + reversed;
    }
    StoreState other("1.2", ".");
    read(other, reversed);
    EXPECT_EQ(formatRecord(other), FULL);
    char printed[2048] = "";
    FILE* stream = fmemopen(printed, sizeof printed, "w");
    other.print(stream);
    fclose(stream);
    EXPECT_EQ(printed, FULL);
}

TEST(Record, LinesAreTakenByTheirPatterns) {
    const std::string v255(255, 'v');
    const struct {
        std::string text, record; // beside the line with the version
        bool diagnosed;
    } cases[] = {
        {"ProcessMode = \"x\"\n", "", true},
        {"processmode=\"x\"\n", "", true},
        {"OwnerDevice=\"A\"\nOwnerDevice=\"\"\n", "", false},
        {"Derived=\"A\"\nDerived=\"\"\n", "Derived=\"A\"\n", false},
        {"Folder=\"A\"\nFolder=\"\"\nFolder=\"!\"\n", "Folder=\"A\"\n", false},
        {"Folder=\"A!B\"\n", "Folder=\"A\"\n", false},
        {"SourceDevice=\"one two\"\n", "SourceDevice=\"one\"\n", false},
        {"SourceDevice=\"one\"\"\" rest\n", "SourceDevice=\"one\"\n", false},
        {"StageState=x\nStageState=\n", "", false},
        {"StudyOwner=\"yes\"\nStudyOwner=\"no\"\nRetrieved=\"YES\"\nDontEdit=\"yes \n", "DontEdit=\"yes\"\n", false},
        {"StagedDevices=\" a  b a \"\nStagedDevices=\"c b\"\n", "StagedDevices=\"a b c\"\n", false},
        {"ForwardDevices=\"\"\nForwardDevices=\" \"\n", "", false},
        {"ForwardDevices=\"a\tb\rc\"\n", "ForwardDevices=\"a\tb\rc\"\n", false},
        {"ForwardDevices=\"a b\r\n", "ForwardDevices=\"a b\"\n", false},
        {"Derived=\"open\r\n", "Derived=\"open\"\n", false},
        {"Derived=\"A\"\nDerived=\"\r\n", "Derived=\"A\"\n", false},
        {"Derived=\"closed\r\"\r\n", "Derived=\"closed\r\"\n", false},
        {"SourceStudy=\"last", "SourceStudy=\"last\"\n", false},
        {"ArchiveDevice=\"" + v255 + "w\"\n", "ArchiveDevice=\"" + v255 + "\"\n", false},
        {"Derived=\"" + v255 + "w\"\n", "Derived=\"" + v255 + "\"\n", false},
        {std::string(1023, '#') + "SourceDevice=\"A\"\n", "SourceDevice=\"A\"\n", false},
        {std::string("SourceDevice=\"A\0B\"\n", 19), "SourceDevice=\"A\"\n", false},
        {"\xa0\xff\x85\n", "", true},
    };
    for (const auto& [text, record, diagnosed] : cases) {
        StoreState state("1.2", ".");
        ::testing::internal::CaptureStderr();
        read(state, text);
        EXPECT_EQ(::testing::internal::GetCapturedStderr(), diagnosed ? "Invalid line: " + text + "\n" : "");
        EXPECT_EQ(formatRecord(state), "Version=\"0\"\n" + record) << text;
        EXPECT_NO_THROW(requireReadable(state, formatRecord(state)));
    }
    const std::pair<const char*, int32_t> versions[] = {{"7", 7},
                                                        {"-1", -1},
                                                        {"abc", 0},
                                                        {"+2x", 2},
                                                        {"2147483648", 2147483647},
                                                        {"-9999999999", -2147483647 - 1},
                                                        {"99999999999999", 2147483647}};
    for (const auto& [text, number] : versions) {
        StoreState state("1.2", ".");
        read(state, std::string("Version=\"") + text + "\"\n");
        EXPECT_EQ(state.version, number) << text;
    }
}

TEST(Record, CutAtAnyLengthReadsAsFarAsItGoes) {
    for (size_t length = 0; length <= FULL.size(); ++length) {
        StoreState state("1.2", ".");
        ::testing::internal::CaptureStderr();
        read(state, FULL.substr(0, length));
        ::testing::internal::GetCapturedStderr();
        const std::string record = formatRecord(state);
        ASSERT_NO_THROW(requireReadable(state, record)) << length;
        EXPECT_LE(state.stagedDevices.NumberOfElements() + state.forwardDevices.NumberOfElements(), 4U);
        EXPECT_EQ(state.forwardDevices.Contains("y"), length >= FULL.size() - 2) << length;
    }
}

TEST(Record, RefusesWhatItWouldNotReadBack) {
    const std::string v255(255, 'v');
    const struct {
        OFString StoreState::*field;
        std::string value;
        const char* refusedAs; // null: it can be stored
    } texts[] = {
        {&StoreState::ownerDevice, "two words", "OwnerDevice"},
        {&StoreState::processMode, "tab\there", "ProcessMode"},
        {&StoreState::stageState, "x\nForwardDevices=\"evil\"", "StageState"},
        {&StoreState::sourceDevice, "quote\"", "SourceDevice"},
        {&StoreState::sourceDevice, "in\"side", nullptr},
        {&StoreState::archiveDevice, v255, nullptr},
        {&StoreState::archiveDevice, v255 + "v", "ArchiveDevice"},
        {&StoreState::folder, v255, nullptr},
        {&StoreState::folder, "no!", "Folder"},
        {&StoreState::folder,
         "Stra\xc3\x9f"
         "e",
         "Folder"},
        {&StoreState::derived, "100% \xc3\xa4 'free' text", nullptr},
        {&StoreState::derived, "a\"b", "Derived"},
        {&StoreState::derived, "d\"\nDerived=\"d", "Derived"},
        {&StoreState::derived, v255 + "v", "Derived"},
        {&StoreState::sourceStudy, "line\n", "SourceStudy"},
        {&StoreState::sourceStudy, std::string("nul\0here", 8), "SourceStudy"},
    };
    const auto refusal = [](StoreState& state) -> std::string {
        try {
            requireReadable(state, formatRecord(state));
            return "";
        } catch (const QXException& refused) {
            EXPECT_EQ(refused.errorNumber, 1);
            return refused.message;
        }
    };
    for (const auto& [field, value, refusedAs] : texts) {
        StoreState state("1.2", ".");
        (state.*field).assign(value.data(), value.size());
        const std::string message = refusal(state);
        const std::string beginning = std::string("Record of study 1.2 cannot carry ") + (refusedAs ? refusedAs : "");
        EXPECT_EQ(refusedAs == nullptr ? message : message.substr(0, beginning.size()), refusedAs ? beginning : "");
    }
    const std::pair<std::string, bool> devices[] = {{"", false},    {"a b", false},      {"a\"", false},
                                                    {"a\n", false}, {v255, true},        {v255 + "v", false},
                                                    {"b", true},    {"tab\tcr\r", true}, {"#x=\\", true}};
    for (const auto& [name, storable] : devices) {
        StoreState state("1.2", ".");
        state.forwardDevices.Insert("a");
        state.forwardDevices.Insert(OFString(name.data(), name.size()));
        EXPECT_EQ(refusal(state), storable ? "" : "Record of study 1.2 cannot carry ForwardDevices=\"" + name + "\".");
    }
}

TEST(Record, LongDeviceListTakesSeveralLines) {
    StoreState state("1.2", ".");
    for (int i = 0; i < 900; ++i) {
        state.forwardDevices.Insert(
            ("Device-" + std::string(static_cast<size_t>(i % 90), 'x') + std::to_string(i)).c_str());
    }
    const std::string record = formatRecord(state);
    size_t lines = 0;
    for (std::string_view rest = record; !rest.empty(); ++lines) {
        EXPECT_LE(takePiece(rest).size(), std::string("ForwardDevices=\"\"\n").size() + 255);
    }
    EXPECT_GT(lines, 100U);
    StoreState reread("1.2", ".");
    read(reread, record + record);
    EXPECT_EQ(formatRecord(reread), record) << "each name once, in the same order";
    OFUnorderedSet<OFString> set;
    state.createSetFromOFString(set, "  a b  a c ");
    EXPECT_EQ(set.NumberOfElements(), 3U);
    char value[256];
    EXPECT_TRUE(state.readProperty("Key=\"v\"\"", "Key=\"%255s", value));
    EXPECT_STREQ(value, "v");
    EXPECT_FALSE(state.readProperty("Key=\"\"", "Key=\"%255[^\"]\"", value));
}
