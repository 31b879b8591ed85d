#ifndef TOOLS_TERMINAL_INTERRUPTION_H
#define TOOLS_TERMINAL_INTERRUPTION_H

namespace storestate {

/**
 * While an object exists, a first SIGINT, SIGTERM or SIGHUP is only noted, so that the study in hand is finished and
 * its lock given back. A second one has its usual effect.
 */
class Interruption {
public:
    Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;
    ~Interruption();

    /** The number of the signal that came; 0 when none did. */
    static int signal();

    /** The exit status that tells of it, as a shell would. */
    static int status() { return 128 + signal(); }
};

} // namespace storestate

#endif
