#ifndef TOOLS_TERMINAL_INTERRUPTION_H
#define TOOLS_TERMINAL_INTERRUPTION_H

namespace storestate {

/**
 * From here on a first SIGINT, SIGTERM or SIGHUP is only noted, so that the study in hand is finished and its lock
 * given back. A second one has its default effect. Signals that the caller ignores stay ignored. This lasts until the
 * program ends: a signal that comes when the work is done does not change the exit status.
 */
void deferSignals();

/** The number of the signal that came; 0 when none did. */
int notedSignal();

/** The exit status that tells of it, as a shell would. */
inline int signalStatus() {
    return 128 + notedSignal();
}

} // namespace storestate

#endif
