// A record and pairs of options, all parted by NUL. What the reader takes can be written and reads back the same. An
// option changes its own fields only, and what would not read back the same is refused.
#include "fuzz/Fields.h"
#include "storestate/ModifyOptions.h"

namespace {

/** What each option may change. An only field takes the value; a marking, which "yes" sets. */
const std::string OPTIONS =
    "--processmode ProcessMode; --stagestate StageState; --folder Folder; --source SourceDevice; --derived Derived;"
    "--archive ArchiveDevice; --sourcestudy SourceStudy; --dontedit DontEdit; --dontdelete DontDelete;"
    "--retrieved Retrieved; --owner StudyOwner OwnerDevice; --setowner StudyOwner OwnerDevice StagedDevices;"
    "--setstaged StudyOwner OwnerDevice StagedDevices; --setreportonly StudyOwner OwnerDevice StagedDevices;"
    "--removedevice StudyOwner OwnerDevice StagedDevices ForwardDevices; --fwddevice ForwardDevices;"
    "--autodevice OwnerDevice StagedDevices ForwardDevices;";
const std::string MARKINGS = "DontEdit DontDelete Retrieved";

void read(StoreState& state, std::string_view text) {
    for (RecordReader reader(state, nullptr); !text.empty();) { reader.readLine(takePiece(text)); }
}

void apply(StoreState& state, const std::string& name, const std::string& value) {
    const auto before = fields(state);
    try {
        applyModifyOption(state, name, value);
    } catch (const QXException&) { REQUIRE(fields(state) == before); } // no device in a list, no database to ask
    const ModifyOption* option = findModifyOption(name);
    std::string own = option != nullptr ? OPTIONS.substr(OPTIONS.find(option->longName + std::string(" "))) : "";
    take(own, ' ');
    own = " " + take(own, ';');
    for (const auto& [key, after] : fields(state)) {
        const std::string wanted = MARKINGS.find(key) == MARKINGS.npos || value == "yes" ? value : "";
        REQUIRE(after == before.at(key) || own.find(" " + key) != own.npos);
        REQUIRE(own != " " + key || key == "ForwardDevices" || after == wanted);
    }
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
