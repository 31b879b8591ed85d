// A record and pairs of options, all parted by NUL. What the reader takes can be written and reads back the same. An
// option changes its own fields only; the only one takes the value, or is marked by "yes"; and what would not read back
// the same is refused.
#include "fuzz/Fields.h"
#include "storestate/ModifyOptions.h"

namespace {

void read(StoreState& state, std::string_view text) {
    for (RecordReader reader(state, nullptr); !text.empty();) { reader.readLine(takePiece(text)); }
}

void apply(StoreState& state, const std::string& name, const std::string& value) {
    const Fields old = fields(state);
    try {
        applyModifyOption(state, name, value);
    } catch (const QXException&) { REQUIRE(fields(state) == old); } // no device in a list, no database to ask
    const ModifyOption* option = findModifyOption(name.c_str());
    const std::string own = option != nullptr ? " " + std::string(option->keys) + " " : "";
    Fields now = fields(state);
    for (const auto& [name, field] : recordProperties(state)) {
        const std::string key(name), before = old.at(key), after = now.at(key);
        const std::string marked = value == "yes" ? "yes" : "",
                          wanted = std::holds_alternative<bool>(field) ? marked : value;
        REQUIRE(after == before || own.find(" " + key + " ") != own.npos);
        REQUIRE(after == wanted || own != " " + key + " " ||
                std::holds_alternative<const OFUnorderedSet<OFString>*>(field));
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
