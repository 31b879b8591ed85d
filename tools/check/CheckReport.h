/** What `storestate check` has found, as data: what was looked at, how it is, and what to do about it. */
#ifndef TOOLS_CHECK_CHECKREPORT_H
#define TOOLS_CHECK_CHECKREPORT_H

#include <functional>
#include <string>
#include <vector>

namespace storestate {

/** In rising order of concern. */
enum class Verdict {
    GOOD,
    NOTE,    ///< the library works, but somebody should know
    UNKNOWN, ///< it could not be looked at
    BAD,     ///< the library does not work, or not reliably
};

struct Finding {
    Verdict verdict;
    std::string subject; ///< an environment variable, or what else was looked at
    std::string text;
    std::string remedy; ///< what to do; empty when there is nothing
};

class CheckReport {
public:
    using Observer = std::function<void(const Finding&)>;

    CheckReport() = default;

    /** Each finding goes to `added`, too, as soon as it is there. */
    explicit CheckReport(Observer added) : observer(std::move(added)) {}

    void good(const std::string& subject, const std::string& text) { add({Verdict::GOOD, subject, text, ""}); }
    void note(const std::string& subject, const std::string& text, const std::string& remedy) {
        add({Verdict::NOTE, subject, text, remedy});
    }
    void unknown(const std::string& subject, const std::string& text, const std::string& remedy) {
        add({Verdict::UNKNOWN, subject, text, remedy});
    }
    void bad(const std::string& subject, const std::string& text, const std::string& remedy) {
        add({Verdict::BAD, subject, text, remedy});
    }
    void add(const Finding& finding);

    const std::vector<Finding>& findings() const { return found; }

    /** The verdict of most concern; GOOD when nothing was found. */
    Verdict worst() const;

private:
    std::vector<Finding> found;
    Observer observer;
};

/** The value of an environment variable; empty when it is not set. */
std::string setting(const char* variable);

/** Whether the variable has a value; if not, that is BAD: "not set" or "empty". */
bool requireSetting(CheckReport& report, const char* variable, const std::string& remedy);

// The parts of the check, one per concern; each runs in a process of its own.
void checkRepository(CheckReport& report);
void checkLockDirectory(CheckReport& report);
void checkMounts(CheckReport& report);
void checkPlugin(CheckReport& report);
void checkDatabase(CheckReport& report);
void checkSystemLog(CheckReport& report);
void checkSnapshot(CheckReport& report);

} // namespace storestate

#endif
