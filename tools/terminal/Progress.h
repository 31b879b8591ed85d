#ifndef TOOLS_TERMINAL_PROGRESS_H
#define TOOLS_TERMINAL_PROGRESS_H

#include <chrono>
#include <cstddef>

namespace storestate {

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
