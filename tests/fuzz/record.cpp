// A record and pairs of options, all parted by NUL. What the reader takes can be written and reads back the same. An
// option changes its own fields only, and what would not read back the same is refused.
#include "fuzz/Fields.h"
#include "jni/ModifyOptions.h"

#include <map>

namespace {

/** An only field takes the value; a marking, which "yes" sets. */
const std::map<std::string, std::vector<Field>> OPTIONS = {
    {"--processmode", {PROCESS}},
    {"--stagestate", {STAGE}},
    {"--folder", {FOLDER}},
    {"--source", {SOURCE}},
    {"--archive", {ARCHIVE}},
    {"--setowner", {OWNER, LOCAL, STAGED}},
    {"--setstaged", {OWNER, LOCAL, STAGED}},
    {"--setreportonly", {OWNER, LOCAL, STAGED}},
    {"--removedevice", {OWNER, LOCAL, STAGED, FORWARD}},
    {"--fwddevice", {FORWARD, FORWARD}},
    {"--derived", {DERIVED}},
    {"--sourcestudy", {STUDY}},
    {"--dontedit", {EDIT}},
    {"--dontdelete", {KEEP}},
    {"--retrieved", {GOT}},
    {"--owner", {LOCAL, OWNER}},
    {"--autodevice", {OWNER, STAGED, FORWARD}},
};

void read(StoreState& state, std::string_view text) {
    for (RecordReader reader(state, nullptr); !text.empty();) { reader.readLine(takePiece(text)); }
}

void apply(StoreState& state, const std::string& name, const std::string& value) {
    const std::vector<std::string> before = fields(state);
    try {
        applyModifyOption(state, name, value);
    } catch (const QXException&) {
        REQUIRE(fields(state) == before); // a list without a device, and no database to ask instead
    }
    std::vector<std::string> after = fields(state);
    const ModifyOption* option = findModifyOption(name);
    const std::vector<Field> own = option != nullptr ? OPTIONS.at(option->longName) : std::vector<Field>();
    REQUIRE(own.size() != 1 || after[own[0]] == (own[0] < LOCAL || value == "yes" ? value : ""));
    for (const Field field : own) { after[field] = before[field]; }
    REQUIRE(after == before);
}

/** Whether the record can be stored, which has to be so exactly when it reads back the same. */
bool storable(const StoreState& state) {
    const std::string text = formatRecord(state);
    StoreState again("1.2", ".");
    read(again, text);
    const bool same = fields(again) == fields(state) && formatRecord(again) == text;
    try {
        requireReadable(state, text);
        REQUIRE(same);
    } catch (const QXException&) { REQUIRE(!same); }
    return same;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string input(data, data + size);
    StoreState state("1.2", ".");
    read(state, take(input, '\0'));
    REQUIRE(storable(state));
    while (!input.empty()) {
        const std::string name = take(input, '\0');
        apply(state, name, take(input, '\0'));
    }
    storable(state);
    return 0;
}
