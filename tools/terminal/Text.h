/** Text of others, made fit for a terminal. */
#ifndef TOOLS_TERMINAL_TEXT_H
#define TOOLS_TERMINAL_TEXT_H

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace storestate {

/**
 * `text` without what would steer a terminal or turn its letters round: each control character (C0, DEL, C1), each
 * mark or override of the writing direction, and each byte that is no UTF-8 becomes a question mark.
 */
std::string printable(const std::string& text);

/** The document indented, in plain ASCII, with a line end: nothing in it can steer a terminal. */
std::string jsonText(const nlohmann::ordered_json& json);

/** `word` quoted where a shell would make something else of it. */
std::string shellWord(const std::string& word);

/** `word` and as many blanks as make it `width` wide; at least one. */
std::string padded(const std::string& word, size_t width);

/** Whether the text is digits only, one at least. */
bool isNumber(const std::string& text);

/** The lines of `text`, without their line ends. */
std::vector<std::string> splitLines(const std::string& text);

} // namespace storestate

#endif
