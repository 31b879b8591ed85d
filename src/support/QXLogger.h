/**
 * printf-style messages to the system log.
 *
 * Operator messages go to the syslog facility that LOG_OPER_FACILITY names, all others to the one that LOG_FACILITY
 * names ("local0" to "local7", otherwise local0). The first message opens the log. No operation reports a failure, and
 * no message is filtered: the configuration of the system log decides which priorities are kept.
 *
 * Any thread may write application messages at any time. A program that mixes operator and application messages in
 * several threads must serialise the facility switch and the message itself.
 */
#ifndef SUPPORT_QXLOGGER_H
#define SUPPORT_QXLOGGER_H

#include "support/Export.h"

#include <cstdarg>

/** The audience of a message. It decides which variable names the syslog facility. */
enum LOG_FACILITY {
    FACILITY_OPER = 0, ///< operators: LOG_OPER_FACILITY
    FACILITY_APPL = 1, ///< the application: LOG_FACILITY
    FACILITY_NONE = 2  ///< the log is not open
};

/** Kind of a message. */
enum LOG_MODE {
    MODE_OPER_INFO = 0,
    MODE_OPER_ERROR = 1,
    MODE_INFO = 2,
    MODE_ERROR = 3,
    MODE_DEBUG = 4 ///< the last one
};

/** The facility of each LOG_MODE. */
extern const LOG_FACILITY FACILITY_ARRAY[MODE_DEBUG + 1];

/** Process-wide flags for programs that link the library; the library itself neither sets nor reads them. */
extern STORESTATE_EXPORT bool g_qxDebug;
extern STORESTATE_EXPORT bool g_qxVerbose;

class QXLogger {
public:
    /** Keeps a copy of `ident`, the tag in front of each line; null stands for "unknown". */
    explicit QXLogger(const char* ident);
    QXLogger(const QXLogger&) = delete;
    QXLogger& operator=(const QXLogger&) = delete;

    /**
     * Closes the log if this logger opened it. Leaves a logger without identity and facility: a call that a static
     * destructor makes later still logs, as "unknown", and touches no freed memory.
     */
    ~QXLogger();

    /** (Re)opens the log for `facility`, reading its variable afresh. */
    void openLog(LOG_FACILITY facility);

    /** Writes one message. The caller has started `args` and ends it. */
    void log(LOG_MODE mode, const char* format, va_list& args) __attribute__((format(printf, 3, 0)));

    void debugLog(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void errorLog(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void infoLog(const char* format, ...) __attribute__((format(printf, 2, 3)));

    LOG_FACILITY currentFacility = FACILITY_NONE; ///< the facility of the open log; read and written atomically
    char* ident = nullptr;                        ///< own copy, which openlog() keeps using; may be null
};

#endif
