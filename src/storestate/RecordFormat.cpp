#include "storestate/RecordFormat.h"

#include "storestate/TextFile.h"
#include "support/QXException.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

namespace storestate {
namespace {

constexpr size_t VALUE_LIMIT = 255; ///< longest value that the patterns accept

// What the patterns accept, for messages.
constexpr char WORD[] = "one word of at most 255 characters, without blanks";
constexpr char FREE_TEXT[] = "at most 255 characters, no double quotes and no line breaks";
constexpr char FOLDER[] =
    R"(at most 255 letters without accents, digits, blanks and ] _ . , @ $ % # & * ( ) [ { } | / \ ^ ; : -)";
constexpr char DEVICES[] = "names of 1 to 255 characters each, no blanks, double quotes or line breaks";

using ValueBuffer = char[VALUE_LIMIT + 1];

using Devices = OFUnorderedSet<OFString>;

void append(std::string& out, const OFString& text) {
    out.append(text.c_str(), text.length());
}

void openLine(std::string& out, std::string_view key) {
    out.append(key).append("=\"");
}

void closeLine(std::string& out) {
    out.append("\"\n");
}

void appendLine(std::string& out, std::string_view key, const OFString& value) {
    openLine(out, key);
    append(out, value);
    closeLine(out);
}

/** The number at the start of `text`, or the nearest that 32 bits hold. */
int32_t leadingNumber(const char* text) {
    using Limits = std::numeric_limits<int32_t>;
    return static_cast<int32_t>(std::clamp<long long>(strtoll(text, nullptr, 10), Limits::min(), Limits::max()));
}

// The kinds of property. Each writes its lines, takes over a value that was read, names the value that was not read
// back as it was written (null: none), and returns its value.

struct Number {
    int32_t StoreState::*member;

    void write(std::string& out, std::string_view key, const StoreState& state) const {
        appendLine(out, key, std::to_string(state.*member).c_str());
    }
    void take(StoreState& state, const ValueBuffer& value, DeviceSetFillers&) const {
        state.*member = leadingNumber(value);
    }
    const OFString* lost(const StoreState&, const StoreState&) const { return nullptr; } // every value comes back
    RecordProperty::Value shown(const StoreState& state) const { return state.*member; }
};

struct Text {
    OFString StoreState::*member;

    void write(std::string& out, std::string_view key, const StoreState& state) const {
        if (!(state.*member).empty()) {
            appendLine(out, key, state.*member);
        }
    }
    void take(StoreState& state, const ValueBuffer& value, DeviceSetFillers&) const { state.*member = value; }
    const OFString* lost(const StoreState& written, const StoreState& reread) const {
        return written.*member != reread.*member ? &(written.*member) : nullptr;
    }
    RecordProperty::Value shown(const StoreState& state) const { return &(state.*member); }
};

struct Flag {
    bool StoreState::*member;

    void write(std::string& out, std::string_view key, const StoreState& state) const {
        if (state.*member) {
            appendLine(out, key, "yes");
        }
    }
    void take(StoreState& state, const ValueBuffer& value, DeviceSetFillers&) const {
        state.*member = strcmp(value, "yes") == 0;
    }
    const OFString* lost(const StoreState&, const StoreState&) const { return nullptr; } // every value comes back
    RecordProperty::Value shown(const StoreState& state) const { return state.*member; }
};

struct DeviceList {
    Devices StoreState::*member;

    void write(std::string& out, std::string_view key, const StoreState& state) const;
    void take(StoreState& state, const ValueBuffer& value, DeviceSetFillers& fillers) const {
        fillers.of(state.*member).addList(value);
    }
    const OFString* lost(const StoreState& written, const StoreState& reread) const;
    RecordProperty::Value shown(const StoreState& state) const { return &(state.*member); }
};

/** On several lines if one would be longer than the reader accepts. */
void DeviceList::write(std::string& out, std::string_view key, const StoreState& state) const {
    const Devices& devices = state.*member;
    size_t used = 0;
    for (unsigned int i = 0; i < devices.NumberOfElements(); ++i) {
        const OFString& name = devices[i];
        const bool fits = i > 0 && used + strlen(" ") + name.length() <= VALUE_LIMIT;
        if (fits) {
            out += ' ';
            used += strlen(" ") + name.length();
        } else {
            if (i > 0) {
                closeLine(out);
            }
            openLine(out, key);
            used = name.length();
        }
        append(out, name);
    }
    if (!devices.IsEmpty()) {
        closeLine(out);
    }
}

/** The first name that was not read back at its place. */
const OFString* DeviceList::lost(const StoreState& written, const StoreState& reread) const {
    const Devices& before = written.*member;
    const Devices& after = reread.*member;
    for (unsigned int i = 0; i < before.NumberOfElements(); ++i) {
        if (i >= after.NumberOfElements() || before[i] != after[i]) {
            return &before[i];
        }
    }
    return nullptr;
}

using Field = std::variant<Number, Text, Flag, DeviceList>;

/** One kind of line. A pattern that ends with a quote reads a value up to a quote, other patterns up to a blank. */
struct Property {
    constexpr Property(const char* scanPattern, const char* valueRule, Field member)
        : pattern(scanPattern), keyLength(std::string_view(scanPattern).find('=')), rule(valueRule), field(member) {}

    std::string_view key() const { return {pattern, keyLength}; }

    const char* pattern; ///< begins with the key, an equals sign and the opening quote
    size_t keyLength;
    const char* rule; ///< what the pattern accepts, for messages; null: every value that the field can have
    Field field;
};

/** In the order in which the lines are written. */
constexpr Property PROPERTIES[] = {
    {R"(Version="%15s)", nullptr, Number{&StoreState::version}},
    {R"(OwnerDevice="%255s)", WORD, Text{&StoreState::ownerDevice}},
    {R"(ProcessMode="%255s)", WORD, Text{&StoreState::processMode}},
    {R"(StageState="%255s)", WORD, Text{&StoreState::stageState}},
    {R"(Folder="%255[]a-zA-Z0-9 _.,@$%#&*()[{}|/\^;:-]")", FOLDER, Text{&StoreState::folder}},
    {R"(SourceDevice="%255s)", WORD, Text{&StoreState::sourceDevice}},
    {R"(ArchiveDevice="%255s)", WORD, Text{&StoreState::archiveDevice}},
    {R"(Derived="%255[^"]")", FREE_TEXT, Text{&StoreState::derived}},
    {R"(SourceStudy="%255[^"]")", FREE_TEXT, Text{&StoreState::sourceStudy}},
    {R"(StudyOwner="%63s)", nullptr, Flag{&StoreState::studyOwner}},
    {R"(Retrieved="%63s)", nullptr, Flag{&StoreState::retrieved}},
    {R"(DontEdit="%63s)", nullptr, Flag{&StoreState::dontEdit}},
    {R"(DontDelete="%63s)", nullptr, Flag{&StoreState::dontDelete}},
    {R"(StagedDevices="%255[^"]")", DEVICES, DeviceList{&StoreState::stagedDevices}},
    {R"(ForwardDevices="%255[^"]")", DEVICES, DeviceList{&StoreState::forwardDevices}},
};

const Property* findProperty(const char* line) {
    const auto* found = std::find_if(std::begin(PROPERTIES), std::end(PROPERTIES), [line](const Property& property) {
        return *line == *property.pattern && strncmp(line, property.pattern, property.keyLength + 1) == 0;
    });
    return found != std::end(PROPERTIES) ? found : nullptr;
}

/** Removes the line end from a value whose closing quote is missing. False: the value is then empty. */
bool trimUnclosedValue(const char* line, const Property& property, ValueBuffer& value) {
    size_t length = strlen(value);
    const bool upToQuote = property.pattern[strlen(property.pattern) - 1] == '"';
    if (!upToQuote || line[property.keyLength + strlen("=\"") + length] == '"') {
        return true;
    }
    while (length > 0 && (value[length - 1] == '\r' || value[length - 1] == '\n')) {
        value[--length] = '\0';
    }
    return length > 0;
}

const char* skipWhiteSpace(const char* text) {
    while (isWhiteSpace(*text)) {
        ++text;
    }
    return text;
}

} // namespace

RecordReader::RecordReader(StoreState& target, FILE* diagnosticStream) : state(target), diagnostics(diagnosticStream) {
}

LineKind RecordReader::readLine(std::string_view line) {
    char buffer[PIECE_LIMIT + 1];
    buffer[line.copy(buffer, PIECE_LIMIT)] = '\0';
    const char* text = skipWhiteSpace(buffer);
    if (*text == '\0' || *text == '#') {
        return LineKind::BLANK;
    }
    const Property* property = findProperty(text);
    if (property == nullptr) {
        if (diagnostics != nullptr) {
            fprintf(diagnostics, "Invalid line: %s\n", text);
            fflush(diagnostics);
        }
        return LineKind::INVALID;
    }
    ValueBuffer value;
    const size_t compared = property->keyLength; // scanf need not compare the key again
    if (state.readProperty(text + compared, property->pattern + compared, value) &&
        trimUnclosedValue(text, *property, value)) {
        std::visit([&](const auto& field) { field.take(state, value, fillers); }, property->field);
    }
    return LineKind::KNOWN;
}

std::vector<RecordProperty> recordProperties(const StoreState& state) {
    std::vector<RecordProperty> properties;
    for (const Property& property : PROPERTIES) {
        properties.push_back(
            {property.key(), std::visit([&](const auto& field) { return field.shown(state); }, property.field)});
    }
    return properties;
}

std::string formatRecord(const StoreState& state) {
    std::string text;
    for (const Property& property : PROPERTIES) {
        std::visit([&](const auto& field) { field.write(text, property.key(), state); }, property.field);
    }
    return text;
}

std::optional<Unstorable> findUnstorable(const StoreState& state, const std::string& text) {
    StoreState reread(state.studyId, ".");
    RecordReader reader(reread, nullptr);
    for (std::string_view rest = text; !rest.empty();) {
        reader.readLine(takePiece(rest));
    }
    for (const Property& property : PROPERTIES) {
        const OFString* lost = std::visit([&](const auto& field) { return field.lost(state, reread); }, property.field);
        if (lost != nullptr) {
            return Unstorable{property.key(), lost, property.rule};
        }
    }
    return std::nullopt;
}

void requireReadable(const StoreState& state, const std::string& text) {
    const std::optional<Unstorable> unstorable = findUnstorable(state, text);
    if (unstorable.has_value()) {
        throw QXException("Record of study %s cannot carry %.*s=\"%s\".", state.studyId.c_str(),
                          static_cast<int>(unstorable->key.size()), unstorable->key.data(), unstorable->value->c_str());
    }
}

} // namespace storestate

void StoreState::print(FILE* stream) {
    std::as_const(*this).print(stream);
}

void StoreState::print(FILE* stream) const {
    const std::string text = storestate::formatRecord(*this);
    fwrite(text.data(), 1, text.size(), stream);
}

bool StoreState::readProperty(const char* line, const char* format, char* value) {
    if (sscanf(line, format, value) != 1) {
        return false;
    }
    size_t length = strlen(value);
    while (length > 0 && value[length - 1] == '"') {
        value[--length] = '\0';
    }
    return true;
}

void StoreState::createSetFromOFString(OFUnorderedSet<OFString>& set, const OFString& list) {
    storestate::DeviceSetFiller(set).addList(list);
}
