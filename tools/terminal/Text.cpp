#include "terminal/Text.h"

#include <algorithm>
#include <cwchar>
#include <nlohmann/json.hpp>
#include <sstream>

namespace storestate {
namespace {

struct Range {
    wchar_t first;
    wchar_t last;
};

/** Control characters, and what sets, isolates or overrides the writing direction. */
constexpr Range UNSAFE[] = {{0x0, 0x1F},      {0x7F, 0x9F},     {0x61C, 0x61C},
                            {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069}};

bool isSafe(wchar_t character) {
    return std::none_of(std::begin(UNSAFE), std::end(UNSAFE),
                        [=](const Range& range) { return character >= range.first && character <= range.last; });
}

} // namespace

std::string printable(const std::string& text) {
    std::string safe;
    for (size_t at = 0; at < text.size();) {
        wchar_t character = 0;
        mbstate_t state = {};
        const size_t size = mbrtowc(&character, &text[at], text.size() - at, &state);
        const bool isValid = size > 0 && size <= text.size() - at; // an error is a huge number, a NUL is 0
        safe += isValid && isSafe(character) ? text.substr(at, size) : "?";
        at += isValid ? size : 1;
    }
    return safe;
}

std::string jsonText(const nlohmann::ordered_json& json) {
    return json.dump(2, ' ', true, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

std::string shellWord(const std::string& word) {
    static const char HARMLESS[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_.,:/@%+=-";
    if (!word.empty() && word.find_first_not_of(HARMLESS) == std::string::npos) {
        return word;
    }
    std::string quoted = "'";
    for (const char character : word) {
        quoted += character == '\'' ? "'\\''" : std::string(1, character);
    }
    return quoted + "'";
}

std::string padded(const std::string& word, size_t width) {
    return word + std::string(word.size() < width ? width - word.size() : 1, ' ');
}

std::vector<std::string> splitLines(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> found;
    for (std::string line; std::getline(stream, line);) {
        found.push_back(line);
    }
    return found;
}

} // namespace storestate
