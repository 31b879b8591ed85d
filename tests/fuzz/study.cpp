// A record and a legacy list, parted by the character 1E, through load() and save(). Only a name of the list that no
// record can carry is refused, and then nothing has changed.
#include "fuzz/Fields.h"

#include <sstream>

namespace {

const Workplace place;
const std::string record = place.record("1.2"), legacyList = place.legacyList("1.2");

/** What is stored after a load and a save. */
Fields rewrite(const std::string& legacyNames) {
    StoreState state("1.2", "");
    state.autoForwardDevices.push_back(new StoreState::StoreDevice("PACS1", "C")); // so that no database is asked
    REQUIRE(state.load() && state.save());
    std::istringstream lines(std::filesystem::exists(legacyList) ? "" : legacyNames);
    for (std::string line, name; std::getline(lines, line) && line.size() < PIECE_LIMIT; name.clear()) {
        std::istringstream(line) >> name;
        REQUIRE(name.empty() || name[0] == '#' || state.forwardDevices.Contains(name));
    }
    return fields(state);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    [[maybe_unused]] static FILE* const diagnostics = stderr = fopen("/dev/null", "w"); // of the reader
    std::string legacy(data, data + size);
    const std::string text = take(legacy, '\x1e');
    Workplace::write(record, text);
    Workplace::write(legacyList, legacy);
    Fields saved;
    try {
        saved = rewrite(legacy);
    } catch (const QXException&) {
        REQUIRE(legacy.size() > 255 || legacy.find_first_of(std::string("\"\0", 2)) != std::string::npos);
        REQUIRE(Workplace::read(record) == text && Workplace::read(legacyList) == legacy);
        REQUIRE(std::distance(std::filesystem::directory_iterator(place.info("1.2")), {}) == 2);
        std::filesystem::remove(legacyList);
        saved = rewrite("");
    }
    const std::string bytes = Workplace::read(record);
    REQUIRE(rewrite("") == saved && Workplace::read(record) == bytes);
    return 0;
}
