#ifndef TOOLS_CHECK_SYSTEMLOG_H
#define TOOLS_CHECK_SYSTEMLOG_H

namespace storestate {

enum class LogListener {
    NONE, ///< what is written is lost
    READS,
    STANDS_STILL, ///< what is written waits to be read, and the writer with it
};

/** How whoever listens at a system log's socket does; writes nothing and never waits longer than a second. */
LogListener logListener(const char* path);

} // namespace storestate

#endif
