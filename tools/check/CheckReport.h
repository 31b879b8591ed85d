/** The lines of `storestate check`: what was looked at, how it is, and what to do about it. */
#ifndef TOOLS_CHECK_CHECKREPORT_H
#define TOOLS_CHECK_CHECKREPORT_H

#include <string>

namespace storestate {

class CheckReport {
public:
    void good(const std::string& subject, const std::string& text);

    /** The library works, but somebody should know. */
    void note(const std::string& subject, const std::string& text);

    /** The library does not work, or not reliably; `remedy` says what to do. */
    void bad(const std::string& subject, const std::string& text, const std::string& remedy);

    /** Counts a fault that another process has printed. */
    void countFault() { ++faults; }

    bool allGood() const { return faults == 0; }

private:
    int faults = 0;
};

/** The value of an environment variable; empty when it is not set. */
std::string setting(const char* variable);

// The parts of the check, one per concern.
void checkDirectories(CheckReport& report);
void checkPlugin(CheckReport& report);
void checkDatabase(CheckReport& report);

} // namespace storestate

#endif
