#ifndef TOOLS_TERMINAL_INTERRUPTION_H
#define TOOLS_TERMINAL_INTERRUPTION_H

namespace storestate {

/**
 * From now on a first SIGINT, SIGTERM or SIGHUP is only noted, so that the current study is finished and its lock
 * released. A second one has its default effect. Signals that the caller ignores stay ignored. This lasts until the
 * program ends: a signal that comes after the work does not change the exit status.
 */
void deferSignals();

/** The number of the signal that came; 0 if none did. */
int notedSignal();

/** The exit status for that signal, as in a shell. */
inline int signalStatus() {
    return 128 + notedSignal();
}

} // namespace storestate

#endif
