#include "terminal/Terminal.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <sys/ioctl.h>
#include <unistd.h>

namespace storestate {

bool isTerminal(FILE* stream) {
    return isatty(fileno(stream)) != 0;
}

size_t terminalWidth(FILE* stream) {
    struct winsize size = {};
    const bool known = ioctl(fileno(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : 80;
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

bool confirmed(const std::string& question) {
    fprintf(stderr, "%s [y/N] ", question.c_str());
    fflush(stderr);
    std::string answer;
    std::getline(std::cin, answer);
    return !answer.empty() && (answer[0] == 'y' || answer[0] == 'Y');
}

void printRemark(const std::string& study, const std::string& text) {
    const Style style(stderr);
    const char* overProgress = isTerminal(stderr) ? "\r\033[K" : "";
    fprintf(stderr, "%sstorestate: %s: %s\n", overProgress, printable(study).c_str(),
            style.bad(printable(text)).c_str());
}

std::string outputFault() {
    static int error = 0;
    for (FILE* stream : {stdout, stderr}) {
        errno = 0;
        const bool failed = fflush(stream) != 0;
        if (error == 0 && (failed || ferror(stream) != 0)) {
            error = errno != 0 ? errno : EIO;
        }
    }
    return error != 0 ? std::string("Writing the output failed: ") + strerror(error) : "";
}

} // namespace storestate
