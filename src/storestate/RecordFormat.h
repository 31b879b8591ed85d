/**
 * The text format of a store-state record: lines of the form Key="value".
 *
 * One table of keys and patterns serves the writer, the reader and the check whether a record can be stored. Nothing
 * here touches a file. Everything belongs to the caller's thread.
 */
#ifndef STORESTATE_RECORDFORMAT_H
#define STORESTATE_RECORDFORMAT_H

#include "storestate/DeviceSetFiller.h"
#include "storestate/StoreState.h"

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace storestate {

enum class LineKind { BLANK, KNOWN, INVALID }; ///< blank or comment; with a known key; all others

/** Reads the lines of a record into a StoreState, in any order. A property without a line keeps its value. */
class RecordReader {
public:
    /** Reports lines without a known key on `diagnosticStream`, unless that is null. */
    RecordReader(StoreState& target, FILE* diagnosticStream);

    /**
     * Applies one line, with or without its line end. Ignores blank lines, comments and values that the key's pattern
     * does not accept. A NUL ends the line.
     */
    LineKind readLine(std::string_view line);

private:
    StoreState& state;
    DeviceSetFillers fillers;
    FILE* diagnostics;
};

/** A property of a record: its key and its value, which belongs to the record. */
struct RecordProperty {
    using Value = std::variant<int32_t, const OFString*, bool, const OFUnorderedSet<OFString>*>;

    std::string_view key;
    Value value;
};

/** All stored properties, in the order in which they are written, empty ones included. */
std::vector<RecordProperty> recordProperties(const StoreState& state);

/** The lines of the record, each with its line end. A device list that is too long for one line takes several. */
std::string formatRecord(const StoreState& state);

/** A value that cannot be stored in a record. */
struct Unstorable {
    std::string_view key;
    const OFString* value; ///< belongs to the record
    const char* rule;      ///< which values the key accepts, for messages
};

/** The first value that would be read differently from `text`, the result of formatRecord() for this record. */
std::optional<Unstorable> findUnstorable(const StoreState& state, const std::string& text);

/** Throws QXException, naming the study, the key and the value, if there is such a value. */
void requireReadable(const StoreState& state, const std::string& text);

} // namespace storestate

#endif
