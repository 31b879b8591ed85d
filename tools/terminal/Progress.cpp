#include "terminal/Progress.h"

#include "terminal/Terminal.h"

#include <algorithm>

namespace storestate {
namespace {

constexpr size_t LONGEST_BAR = 40;
constexpr std::chrono::milliseconds PAUSE(50);

} // namespace

std::string progressLine(size_t done, size_t failed, size_t total, size_t width) {
    const std::string numbers =
        std::to_string(done) + "/" + std::to_string(total) + ", " + std::to_string(failed) + " failed";
    const size_t used = numbers.size() + 4; // brackets, a blank, and the last column, where a terminal may wrap
    if (width <= used) {
        return numbers.substr(0, width > 0 ? width - 1 : 0);
    }
    const size_t bar = std::min(LONGEST_BAR, width - used);
    const size_t filled = done * bar / total;
    return "[" + std::string(filled, '#') + std::string(bar - filled, '.') + "] " + numbers;
}

Progress::Progress(size_t count) : visible(isTerminal(stderr) && count > 1), total(count) {
}

Progress::~Progress() {
    if (visible) {
        fputs("\r\033[K", stderr);
        fflush(stderr);
    }
}

void Progress::update(size_t done, size_t failed) {
    const auto now = std::chrono::steady_clock::now();
    if (!visible || now - lastDrawn < PAUSE) {
        return;
    }
    lastDrawn = now;
    fprintf(stderr, "\r%s", progressLine(done, failed, total, terminalWidth(stderr)).c_str());
    fflush(stderr);
}

} // namespace storestate
