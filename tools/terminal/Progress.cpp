#include "terminal/Progress.h"

#include "terminal/Terminal.h"

#include <string>

namespace storestate {
namespace {

constexpr size_t WIDTH = 40;
constexpr std::chrono::milliseconds PAUSE(50);

} // namespace

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
    const size_t filled = done * WIDTH / total;
    const std::string bar = std::string(filled, '#') + std::string(WIDTH - filled, '.');
    fprintf(stderr, "\r[%s] %zu/%zu, %zu failed", bar.c_str(), done, total, failed);
    fflush(stderr);
}

} // namespace storestate
