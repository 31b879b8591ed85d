#include "record/RecordText.h"

#include "storestate/RecordFormat.h"
#include "storestate/TextFile.h"

#include <algorithm>
#include <cctype>

namespace storestate {
namespace {

std::string_view trimmed(std::string_view line) {
    const auto isBlank = [](char character) { return isspace(static_cast<unsigned char>(character)) != 0; };
    while (!line.empty() && isBlank(line.front())) {
        line.remove_prefix(1);
    }
    while (!line.empty() && isBlank(line.back())) {
        line.remove_suffix(1);
    }
    return line;
}

bool isKnown(std::string_view line, const std::vector<RecordProperty>& properties) {
    return std::any_of(properties.begin(), properties.end(), [line](const RecordProperty& property) {
        return line.size() > property.key.size() && line.compare(0, property.key.size(), property.key) == 0 &&
               line[property.key.size()] == '=';
    });
}

/** Whether the value of a line with a known key has both its quotes. */
bool isClosed(std::string_view line) {
    return std::count(line.begin(), line.end(), '"') >= 2;
}

} // namespace

std::string RecordText::objection() const {
    if (!damage.empty()) {
        return "The record is damaged: " + damage + ".";
    }
    return isLater ? "The record is of version " + std::to_string(version) +
                         ", with keys that are not known here: " + invalidLines.front() + "."
                   : "";
}

RecordText examineRecord(std::string_view text) {
    RecordText found;
    StoreState state("-", ".");
    RecordReader reader(state, nullptr);
    const std::vector<RecordProperty> properties = recordProperties(state);
    std::string cut; // the last line, if it lacks the closing quote
    for (std::string_view rest = text; !rest.empty();) {
        const std::string_view piece = takePiece(rest);
        const std::string_view line = trimmed(piece);
        reader.readLine(piece);
        if (line.empty() || line.front() == '#') {
            continue;
        }
        const bool known = isKnown(line, properties);
        found.isLegible = found.isLegible || known;
        cut = known && !isClosed(line) ? line : "";
        if (!known) {
            found.invalidLines.emplace_back(line);
        }
    }
    found.version = state.version;
    found.setsNothing = !text.empty() && !found.isLegible && found.invalidLines.empty();
    found.isLater = state.version > 1 && !found.invalidLines.empty();
    found.damage = text.empty()                                ? "it is empty"
                   : text.find('\0') != std::string_view::npos ? "it has NUL characters"
                   : !found.isLegible && !found.setsNothing    ? "no line of it has a key of a record"
                   : !cut.empty()                              ? "its last line, " + cut + ", lacks the closing quote"
                                                               : "";
    return found;
}

} // namespace storestate
