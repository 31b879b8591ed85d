#include "storestate/RecordFormat.h"

#include "storestate/TextFile.h"
#include "support/QXException.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace storestate {
namespace {

constexpr size_t VALUE_LIMIT = 255; ///< longest value that the patterns take
using Value = char[VALUE_LIMIT + 1];

using Devices = OFUnorderedSet<OFString>;
using Field = std::variant<int32_t StoreState::*, OFString StoreState::*, bool StoreState::*, Devices StoreState::*>;

/** One kind of line. A pattern that ends with a quote takes a value up to its closing quote, others up to a blank. */
struct Property {
    constexpr Property(const char* scanPattern, Field member)
        : pattern(scanPattern), keyLength(std::string_view(scanPattern).find('=')), field(member) {}

    const char* pattern; ///< begins with the key, an equals sign and the opening quote
    size_t keyLength;
    Field field;
};

/** In the order in which the lines are written. */
constexpr Property PROPERTIES[] = {
    {R"(Version="%15s)", &StoreState::version},
    {R"(OwnerDevice="%255s)", &StoreState::ownerDevice},
    {R"(ProcessMode="%255s)", &StoreState::processMode},
    {R"(StageState="%255s)", &StoreState::stageState},
    {R"(Folder="%255[]a-zA-Z0-9 _.,@$%#&*()[{}|/\^;:-]")", &StoreState::folder},
    {R"(SourceDevice="%255s)", &StoreState::sourceDevice},
    {R"(ArchiveDevice="%255s)", &StoreState::archiveDevice},
    {R"(Derived="%255[^"]")", &StoreState::derived},
    {R"(SourceStudy="%255[^"]")", &StoreState::sourceStudy},
    {R"(StudyOwner="%63s)", &StoreState::studyOwner},
    {R"(Retrieved="%63s)", &StoreState::retrieved},
    {R"(DontEdit="%63s)", &StoreState::dontEdit},
    {R"(DontDelete="%63s)", &StoreState::dontDelete},
    {R"(StagedDevices="%255[^"]")", &StoreState::stagedDevices},
    {R"(ForwardDevices="%255[^"]")", &StoreState::forwardDevices},
};

/** Makes one visitor of several functions. */
template <class... Functions>
struct Overloaded : Functions... {
    using Functions::operator()...;
};
template <class... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

const Property* findProperty(const char* line) {
    const auto* found = std::find_if(std::begin(PROPERTIES), std::end(PROPERTIES), [line](const Property& property) {
        return *line == *property.pattern && strncmp(line, property.pattern, property.keyLength + 1) == 0;
    });
    return found != std::end(PROPERTIES) ? found : nullptr;
}

/** A value whose closing quote is missing has taken the line end in. False: it held nothing else. */
bool trimUnclosedValue(const char* line, const Property& property, Value& value) {
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

/** The number at the start of `text`, or the nearest that 32 bits hold. */
int32_t leadingNumber(const char* text) {
    using Limits = std::numeric_limits<int32_t>;
    return static_cast<int32_t>(std::clamp<long long>(strtoll(text, nullptr, 10), Limits::min(), Limits::max()));
}

void append(std::string& out, const OFString& text) {
    out.append(text.c_str(), text.length());
}

void openLine(std::string& out, const Property& property) {
    out.append(property.pattern, property.keyLength).append("=\"");
}

void closeLine(std::string& out) {
    out.append("\"\n");
}

void appendDevices(std::string& out, const Property& property, const Devices& devices) {
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
            openLine(out, property);
            used = name.length();
        }
        append(out, name);
    }
    if (!devices.IsEmpty()) {
        closeLine(out);
    }
}

void appendValue(std::string& out, const Property& property, const OFString& value) {
    openLine(out, property);
    append(out, value);
    closeLine(out);
}

void appendProperty(std::string& out, const Property& property, const StoreState& state) {
    std::visit(Overloaded{[&](int32_t StoreState::*number) {
                              appendValue(out, property, std::to_string(state.*number).c_str());
                          },
                          [&](OFString StoreState::*text) {
                              if (!(state.*text).empty()) {
                                  appendValue(out, property, state.*text);
                              }
                          },
                          [&](bool StoreState::*marking) {
                              if (state.*marking) {
                                  appendValue(out, property, "yes");
                              }
                          },
                          [&](Devices StoreState::*devices) { appendDevices(out, property, state.*devices); }},
               property.field);
}

/** The first name of `written` that did not come back in its place. */
const OFString* findLost(const Devices& written, const Devices& reread) {
    for (unsigned int i = 0; i < written.NumberOfElements(); ++i) {
        if (i >= reread.NumberOfElements() || written[i] != reread[i]) {
            return &written[i];
        }
    }
    return nullptr;
}

/** The value of a property that did not come back; null when all is well. Numbers and markings always come back. */
const OFString* findLost(const Property& property, const StoreState& written, const StoreState& reread) {
    return std::visit(
        Overloaded{
            [&](OFString StoreState::*text) { return written.*text != reread.*text ? &(written.*text) : nullptr; },
            [&](Devices StoreState::*devices) { return findLost(written.*devices, reread.*devices); },
            [](auto /*always readable*/) -> const OFString* { return nullptr; }},
        property.field);
}

} // namespace

const char* skipWhiteSpace(const char* text) {
    while (isspace(static_cast<unsigned char>(*text)) != 0) {
        ++text;
    }
    return text;
}

RecordReader::RecordReader(StoreState& target, FILE* diagnosticStream)
    : state(target), staged(target.stagedDevices), forward(target.forwardDevices), diagnostics(diagnosticStream) {
}

void RecordReader::readLine(std::string_view line) {
    char buffer[PIECE_LIMIT + 1];
    buffer[line.copy(buffer, PIECE_LIMIT)] = '\0';
    const char* text = skipWhiteSpace(buffer);
    if (*text == '\0' || *text == '#') {
        return;
    }
    const Property* property = findProperty(text);
    if (property == nullptr) {
        if (diagnostics != nullptr) {
            fprintf(diagnostics, "Invalid line: %s\n", text);
            fflush(diagnostics);
        }
        return;
    }
    Value value;
    const size_t scanned = property->keyLength; // the key has been compared already
    if (!state.readProperty(text + scanned, property->pattern + scanned, value) ||
        !trimUnclosedValue(text, *property, value)) {
        return;
    }
    std::visit(Overloaded{[&](int32_t StoreState::*number) { state.*number = leadingNumber(value); },
                          [&](OFString StoreState::*target) { state.*target = value; },
                          [&](bool StoreState::*marking) { state.*marking = strcmp(value, "yes") == 0; },
                          [&](Devices StoreState::*devices) {
                              (devices == &StoreState::stagedDevices ? staged : forward).addList(value);
                          }},
               property->field);
}

std::vector<RecordProperty> recordProperties(const StoreState& state) {
    std::vector<RecordProperty> properties;
    for (const Property& property : PROPERTIES) {
        RecordProperty found = {std::string_view(property.pattern, property.keyLength), {}};
        std::visit(Overloaded{[&](int32_t StoreState::*number) { found.value = state.*number; },
                              [&](OFString StoreState::*text) { found.value = &(state.*text); },
                              [&](bool StoreState::*marking) { found.value = state.*marking; },
                              [&](Devices StoreState::*devices) { found.value = &(state.*devices); }},
                   property.field);
        properties.push_back(found);
    }
    return properties;
}

std::string formatRecord(const StoreState& state) {
    std::string text;
    for (const Property& property : PROPERTIES) {
        appendProperty(text, property, state);
    }
    return text;
}

void requireReadable(const StoreState& state, const std::string& text) {
    StoreState reread(state.studyId, ".");
    RecordReader reader(reread, nullptr);
    for (std::string_view rest = text; !rest.empty();) {
        reader.readLine(takePiece(rest));
    }
    for (const Property& property : PROPERTIES) {
        const OFString* lost = findLost(property, state, reread);
        if (lost != nullptr) {
            throw QXException("Record of study %s cannot carry %.*s=\"%s\".", state.studyId.c_str(),
                              static_cast<int>(property.keyLength), property.pattern, lost->c_str());
        }
    }
}

} // namespace storestate

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
