// A record, a legacy list and pairs of options, all parted by the character 1E: read, changed and stored. Compiled
// twice, with FUZZ_FILES for whole loads and saves, and without for the reader and the options alone, which is quicker
// by far. What is read can be written. What is stored reads back the same; what would not is refused, and nothing has
// changed.
#include "storestate/ModifyOptions.h"
#include "storestate/RecordFormat.h"
#include "storestate/TextFile.h"
#include "support/QXException.h"
#include "support/Workplace.h"

#include <map>
#include <unistd.h>

using namespace storestate;

#define REQUIRE(condition) ((condition) ? void() : (dprintf(STDERR_FILENO, "violated: %s\n", #condition), abort()))

namespace {

const Workplace place;
const std::string record = place.record("S"), list = place.legacyList("S");

using Fields = std::map<std::string, std::string>; ///< what a record stores, by key

Fields fields(const StoreState& state) {
    struct {
        std::string operator()(int32_t number) const { return std::to_string(number); } // or a marking
        std::string operator()(const OFString* text) const { return *text; }
        std::string operator()(const OFUnorderedSet<OFString>* names) const {
            std::string all;
            for (unsigned i = 0; i < names->NumberOfElements(); ++i) {
                all += (*names)[i] + '\0';
            }
            return all;
        }
    } text;
    Fields found;
    for (const auto& [key, value] : recordProperties(state)) {
        found[std::string(key)] = std::visit(text, value);
    }
    return found;
}

void read(StoreState& state, std::string_view text) {
    for (RecordReader reader(state, nullptr); !text.empty();) {
        reader.readLine(takePiece(text));
    }
}

bool readsBack(const StoreState& state) {
    StoreState again("S", ".");
    read(again, formatRecord(state));
    return fields(again) == fields(state) && formatRecord(again) == formatRecord(state);
}

/** An option changes its own fields only. */
void apply(StoreState& state, const std::string& name, const std::string& value) {
    const Fields old = fields(state);
    try {
        applyModifyOption(state, name, value);
    } catch (const QXException&) {
        REQUIRE(fields(state) == old);
    } // no device in a list, no database to ask
    const ModifyOption* option = findModifyOption(name.c_str());
    const std::string own = option != nullptr ? " " + std::string(option->keys) + " " : "";
    for (const auto& [key, now] : fields(state)) {
        REQUIRE(now == old.at(key) || own.find(" " + key + " ") != own.npos);
    }
}

std::string take(std::string& input) {
    const std::string part = input.substr(0, input.find('\x1e'));
    input.erase(0, part.size() + 1);
    return part;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string input(data, data + size);
    const std::string text = take(input), legacy = take(input);
    StoreState state("S", ""), again("S", "");
    read(again, text);
    REQUIRE(readsBack(again));
    if (FUZZ_FILES) {
        Workplace::write(record, text), Workplace::write(list, legacy);
    }
    state.diagnostics = nullptr;
    state.autoForwardDevices.push_back(new StoreState::StoreDevice("PACS1", "C")); // so that no database is asked
    FUZZ_FILES ? REQUIRE(state.load()) : read(state, text);
    while (!input.empty()) {
        const std::string name = take(input).c_str(), value = take(input).c_str(); // as Java hands them over
        apply(state, name, value);
    }
    bool saved = false;
    try {
        FUZZ_FILES ? void(state.save()) : requireReadable(state, formatRecord(state));
        saved = true;
    } catch (const QXException&) {
        REQUIRE(!FUZZ_FILES || (Workplace::read(record) == text && Workplace::read(list) == legacy));
        REQUIRE(!FUZZ_FILES || std::distance(std::filesystem::directory_iterator(place.info("S")), {}) == 2);
    }
    REQUIRE(saved == readsBack(state));
    REQUIRE(!saved || !FUZZ_FILES || Workplace::read(record) == formatRecord(state));
    return 0;
}
