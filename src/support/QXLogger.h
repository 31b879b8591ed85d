/**
 * printf-style messages to the system log.
 *
 * Operator messages go to the syslog facility that LOG_OPER_FACILITY names, all others to the one that LOG_FACILITY
 * names ("local0" to "local7", local0 otherwise). The log is opened with the first message. Nothing reports a failure,
 * and nothing is filtered: which priorities are kept is the system log's own configuration.
 *
 * Any thread may write application messages at any time. A program that mixes operator and application messages in
 * several threads must keep the switch and the message together itself.
 */
#ifndef SUPPORT_QXLOGGER_H
#define SUPPORT_QXLOGGER_H

#include "support/Export.h"

#include <cstdarg>

/** Whom a message is for, and thereby which variable names its syslog facility. */
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

    /** Closes the log if this logger opened it. */
    ~QXLogger();

    /** (Re)opens the log for `facility`, reading its variable afresh. */
    void openLog(LOG_FACILITY facility);

    /** Writes one message; `args` has been started by the caller, who also ends it. */
    void log(LOG_MODE mode, const char* format, va_list& args) __attribute__((format(printf, 3, 0)));

    void debugLog(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void errorLog(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void infoLog(const char* format, ...) __attribute__((format(printf, 2, 3)));

    LOG_FACILITY currentFacility = FACILITY_NONE; ///< what the log is open for; read and written atomically
    char* ident = nullptr;                        ///< own copy, which openlog() goes on using; may be null
};

#endif
