/** Sanitises untrusted text for a terminal or a shell; other text helpers. */
#ifndef TOOLS_TERMINAL_TEXT_H
#define TOOLS_TERMINAL_TEXT_H

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace storestate {

/**
 * `text` without anything that could control a terminal or change the writing direction: a question mark replaces each
 * control character (C0, DEL, C1), each mark or override of the writing direction, and each byte that is not a
 * character of the program's locale.
 */
std::string printable(const std::string& text);

/** The document indented, in plain ASCII, with a line end: nothing in it can control a terminal. */
std::string jsonText(const nlohmann::ordered_json& json);

/** `word`, quoted if a shell would otherwise interpret it. */
std::string shellWord(const std::string& word);

/** `word` padded with blanks to `width`; at least one blank. */
std::string padded(const std::string& word, size_t width);

/** The lines of `text`, without their line ends. */
std::vector<std::string> splitLines(const std::string& text);

} // namespace storestate

#endif
