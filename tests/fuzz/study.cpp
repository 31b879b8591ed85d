// The input is a record, a legacy list and pairs of options, separated by the character 1E. They are read, applied and
// stored. Whatever was read can be stored. A stored record reads back the same; any other record is refused, and no
// file has changed. Compiled twice: with FUZZ_FILES for whole loads and saves, and without for the reader and the
// options alone, which is much faster.
#include "storestate/ModifyOptions.h"
#include "storestate/RecordFormat.h"
#include "storestate/TextFile.h"
#include "support/QXException.h"
#include "support/Workplace.h"

#include <map>
#include <unistd.h>

using namespace storestate;

#define REQUIRE(condition) require(condition, #condition)

namespace {

const Workplace place;
const std::string record = place.record("S");
const std::string list = place.legacyList("S");

void require(bool condition, const char* text) {
    if (!condition) {
        dprintf(STDERR_FILENO, "violated: %s\n", text);
        abort();
    }
}

using Fields = std::map<std::string, std::string>; ///< stored values by key

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
    RecordReader reader(state, nullptr);
    while (!text.empty()) {
        reader.readLine(takePiece(text));
    }
}

bool readsBack(const StoreState& state) {
    StoreState again("S", ".");
    read(again, formatRecord(state));
    return fields(again) == fields(state) && formatRecord(again) == formatRecord(state);
}

/** Applies an option, which must not change other fields than its own. */
void apply(StoreState& state, const std::string& name, const std::string& value) {
    const Fields old = fields(state);
    try {
        applyModifyOption(state, name, value);
    } catch (const QXException&) { // a list without devices, and no database
        REQUIRE(fields(state) == old);
    }
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

void load(StoreState& state, const std::string& text, const std::string& legacy) {
    if (!FUZZ_FILES) {
        read(state, text);
        return;
    }
    Workplace::write(record, text);
    Workplace::write(list, legacy);
    REQUIRE(state.load());
}

/** False: the record was refused, and no file has changed. */
bool save(StoreState& state, const std::string& text, const std::string& legacy) {
    try {
        if (!FUZZ_FILES) {
            requireReadable(state, formatRecord(state));
            return true;
        }
        state.save();
    } catch (const QXException&) {
        if (FUZZ_FILES) {
            REQUIRE(Workplace::read(record) == text);
            REQUIRE(Workplace::read(list) == legacy);
            REQUIRE(std::distance(std::filesystem::directory_iterator(place.info("S")), {}) == 2);
        }
        return false;
    }
    REQUIRE(Workplace::read(record) == formatRecord(state));
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string input(data, data + size);
    const std::string text = take(input);
    const std::string legacy = take(input);
    StoreState onlyRead("S", "");
    read(onlyRead, text);
    REQUIRE(readsBack(onlyRead));

    StoreState state("S", "");
    state.diagnostics = nullptr;
    state.autoForwardDevices.push_back(new StoreState::StoreDevice("PACS1", "C")); // so that no database is asked
    load(state, text, legacy);
    while (!input.empty()) {
        const std::string name = take(input).c_str(); // up to a NUL, as from Java
        const std::string value = take(input).c_str();
        apply(state, name, value);
    }
    REQUIRE(save(state, text, legacy) == readsBack(state));
    return 0;
}
