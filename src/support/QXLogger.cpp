#include "support/QXLogger.h"

#include "support/SyslogFacility.h"

#include <cstdlib>
#include <cstring>
#include <syslog.h>

const LOG_FACILITY FACILITY_ARRAY[MODE_DEBUG + 1] = {FACILITY_OPER, FACILITY_OPER, FACILITY_APPL, FACILITY_APPL,
                                                     FACILITY_APPL};
bool g_qxDebug = false;
bool g_qxVerbose = false;

namespace {

constexpr int PRIORITY[MODE_DEBUG + 1] = {LOG_INFO, LOG_ERR, LOG_INFO, LOG_ERR, LOG_DEBUG};

} // namespace

QXLogger::QXLogger(const char* name) {
    if (name != nullptr) {
        const size_t size = strlen(name) + 1;
        ident = static_cast<char*>(memcpy(new char[size], name, size));
    }
}

QXLogger::~QXLogger() {
    if (currentFacility != FACILITY_NONE) {
        closelog();
    }
    delete[] ident;
    // Atomic, because the compiler drops plain writes to an object that is being destroyed.
    LOG_FACILITY closed = FACILITY_NONE;
    __atomic_store(&currentFacility, &closed, __ATOMIC_RELAXED);
    __atomic_store_n(&ident, nullptr, __ATOMIC_RELAXED);
}

void QXLogger::openLog(LOG_FACILITY facility) {
    const char* variable = facility == FACILITY_OPER ? "LOG_OPER_FACILITY" : "LOG_FACILITY";
    openlog(ident != nullptr ? ident : "unknown", LOG_PID,
            storestate::syslogFacility(getenv(variable)).value_or(LOG_LOCAL0));
    __atomic_store(&currentFacility, &facility, __ATOMIC_RELAXED);
}

void QXLogger::log(LOG_MODE mode, const char* format, va_list& args) {
    const LOG_FACILITY wanted = FACILITY_ARRAY[mode];
    LOG_FACILITY current;
    __atomic_load(&currentFacility, &current, __ATOMIC_RELAXED); // other threads may be opening the log
    if (wanted != current) {
        openLog(wanted);
    }
    vsyslog(PRIORITY[mode], format, args);
}

void QXLogger::debugLog(const char* format, ...) {
    va_list args;
    va_start(args, format);
    log(MODE_DEBUG, format, args);
    va_end(args);
}

void QXLogger::errorLog(const char* format, ...) {
    va_list args;
    va_start(args, format);
    log(MODE_ERROR, format, args);
    va_end(args);
}

void QXLogger::infoLog(const char* format, ...) {
    va_list args;
    va_start(args, format);
    log(MODE_INFO, format, args);
    va_end(args);
}
