// The input is a record, a legacy list and pairs of options, separated by the character 1E. They are read and applied
// as by load(), convert() and modify(). Whatever was read can be stored. A changed record is refused exactly if it
// would not read back the same.
#undef NDEBUG
#include "storestate/Conversion.h"
#include "storestate/ModifyOptions.h"
#include "storestate/RecordFormat.h"
#include "storestate/TextFile.h"

#include <cassert>
#include <sstream>

using namespace storestate;

namespace {

void read(StoreState& state, std::string_view text) {
    RecordReader reader(state, nullptr);
    while (!text.empty()) {
        reader.readLine(takePiece(text));
    }
}

void readLegacyList(StoreState& state, std::string_view text) {
    DeviceSetFiller forward(state.forwardDevices);
    while (!text.empty()) {
        const OFString name = legacyDevice(takePiece(text));
        if (!name.empty()) {
            forward.add(name);
        }
    }
}

std::vector<std::string> texts(const StoreState& state) {
    std::vector<std::string> all;
    for (const auto& [key, value] : recordProperties(state)) {
        if (const auto* text = std::get_if<const OFString*>(&value)) {
            all.emplace_back((*text)->c_str());
        }
    }
    return all;
}

/** Compares also the numbers of devices, which differ if a name has a blank. */
bool readsBack(const StoreState& state) {
    StoreState again("S", ".");
    read(again, formatRecord(state));
    return formatRecord(again) == formatRecord(state) && texts(again) == texts(state) &&
           again.stagedDevices.NumberOfElements() == state.stagedDevices.NumberOfElements() &&
           again.forwardDevices.NumberOfElements() == state.forwardDevices.NumberOfElements();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::istringstream input(std::string(data, data + size));
    std::string record, list, name, value;
    std::getline(input, record, '\x1e');
    std::getline(input, list, '\x1e');
    StoreState state("S", ".");
    state.autoForwardDevices.push_back(new StoreState::StoreDevice("PACS1", "C")); // so that no database is asked
    read(state, record);
    assert(readsBack(state) && "what was read can be stored");
    readLegacyList(state, list);
    while (std::getline(input, name, '\x1e')) {
        std::getline(input, value, '\x1e');
        applyModifyOption(state, name.c_str(), value.c_str()); // up to a NUL, as from Java
    }
    const bool storable = !findUnstorable(state, formatRecord(state)).has_value();
    assert(storable == readsBack(state) && "a record is refused exactly if it would not read back the same");
    return 0;
}
