/** What depends on whether a person reads along. */
#ifndef TOOLS_TERMINAL_TERMINAL_H
#define TOOLS_TERMINAL_TERMINAL_H

#include <cstdio>
#include <string>

namespace storestate {

/** Colours for one stream: on a terminal, and unless NO_COLOR forbids them. */
class Style {
public:
    explicit Style(FILE* stream);

    std::string title(const std::string& text) const { return wrap("1", text); }
    std::string faint(const std::string& text) const { return wrap("2", text); }
    std::string good(const std::string& text) const { return wrap("32", text); }
    std::string warning(const std::string& text) const { return wrap("33", text); }
    std::string bad(const std::string& text) const { return wrap("31", text); }

private:
    std::string wrap(const char* code, const std::string& text) const;

    bool colours;
};

bool isTerminal(FILE* stream);

/** `text` without what would steer a terminal: each control character becomes a question mark. */
std::string printable(const std::string& text);

/** Asks on the terminal; true for an answer that begins with "y". */
bool confirmed(const std::string& question);

} // namespace storestate

#endif
