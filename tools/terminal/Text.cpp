#include "terminal/Text.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>

namespace storestate {
namespace {

/** One character of UTF-8: its number and how many bytes it takes. */
struct Character {
    uint32_t number;
    size_t size; ///< 0: the bytes are no UTF-8
};

struct Range {
    uint32_t first;
    uint32_t last;
};

/** Controls, and what sets, isolates or overrides the writing direction. */
constexpr Range STEERING[] = {{0x0, 0x1F},      {0x7F, 0x9F},     {0x61C, 0x61C},
                              {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069}};

constexpr uint32_t LARGEST = 0x10FFFF;

/** The shortest form only: a longer one is a disguise. */
Character characterAt(const std::string& text, size_t at) {
    static constexpr uint32_t SMALLEST[] = {0, 0, 0x80, 0x800, 0x10000};
    const auto first = static_cast<unsigned char>(text[at]);
    if (first < 0x80) {
        return {first, 1};
    }
    const size_t size = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || at + size > text.size()) {
        return {0, 0};
    }
    uint32_t number = first & (0xFFU >> (size + 1));
    for (size_t i = 1; i < size; ++i) {
        const auto next = static_cast<unsigned char>(text[at + i]);
        if ((next & 0xC0U) != 0x80) {
            return {0, 0};
        }
        number = number << 6U | (next & 0x3FU);
    }
    return number >= SMALLEST[size] && number <= LARGEST ? Character{number, size} : Character{0, 0};
}

bool steers(uint32_t number) {
    return std::any_of(std::begin(STEERING), std::end(STEERING),
                       [number](const Range& range) { return number >= range.first && number <= range.last; });
}

} // namespace

std::string printable(const std::string& text) {
    std::string safe;
    for (size_t at = 0; at < text.size();) {
        const Character character = characterAt(text, at);
        if (character.size == 0 || steers(character.number)) {
            safe += '?';
        } else {
            safe.append(text, at, character.size);
        }
        at += std::max<size_t>(character.size, 1);
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

bool isNumber(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
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
