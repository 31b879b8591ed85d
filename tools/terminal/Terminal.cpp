#include "terminal/Terminal.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <unistd.h>

namespace storestate {

bool isTerminal(FILE* stream) {
    return isatty(fileno(stream)) != 0;
}

Style::Style(FILE* stream) {
    const char* forbidden = getenv("NO_COLOR");
    const char* terminal = getenv("TERM");
    colours = isTerminal(stream) && (forbidden == nullptr || *forbidden == '\0') && terminal != nullptr &&
              strcmp(terminal, "dumb") != 0;
}

std::string Style::wrap(const char* code, const std::string& text) const {
    return colours ? std::string("\033[") + code + "m" + text + "\033[0m" : text;
}

std::string printable(const std::string& text) {
    std::string safe = text;
    std::replace_if(
        safe.begin(), safe.end(), [](unsigned char character) { return iscntrl(character) != 0; }, '?');
    return safe;
}

bool confirmed(const std::string& question) {
    std::cerr << question << " [y/N] " << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    return !answer.empty() && (answer[0] == 'y' || answer[0] == 'Y');
}

} // namespace storestate
