#ifndef TOOLS_TERMINAL_PROGRESS_H
#define TOOLS_TERMINAL_PROGRESS_H

#include <chrono>
#include <cstddef>
#include <string>

namespace storestate {

/** The bar and its numbers, in less than `width` columns; in a narrow terminal the numbers alone. */
std::string progressLine(size_t done, size_t failed, size_t total, size_t width);

/** A progress bar on standard error, drawn only when that is a terminal, and gone with the object. */
class Progress {
public:
    explicit Progress(size_t total);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    /** Redraws the bar, but not more often than the eye follows. */
    void update(size_t done, size_t failed);

private:
    bool visible;
    size_t total;
    std::chrono::steady_clock::time_point lastDrawn;
};

} // namespace storestate

#endif
