/** What depends on whether a person reads along, and whether anybody does. */
#ifndef TOOLS_TERMINAL_TERMINAL_H
#define TOOLS_TERMINAL_TERMINAL_H

#include "terminal/Text.h"

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

/** Columns of the terminal behind the stream; 80 when it does not say. */
size_t terminalWidth(FILE* stream);

/** Asks on the terminal; true for an answer that begins with "y". */
bool confirmed(const std::string& question);

/** Prints a line about one study on standard error, over a progress bar: "storestate: <study>: <text>". */
void printRemark(const std::string& study, const std::string& text);

/** Why what was printed did not arrive, be it a full disk or a closed pipe; empty when all did so far. */
std::string outputFault();

} // namespace storestate

#endif
