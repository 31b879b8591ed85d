/** The environment variables that the library reads. */
#ifndef STORESTATE_ENVIRONMENT_H
#define STORESTATE_ENVIRONMENT_H

#include <cstdlib>

namespace storestate {

/** The variable's value; empty if it is not set. */
inline const char* environmentValue(const char* variable) {
    const char* value = getenv(variable);
    return value != nullptr ? value : "";
}

struct EnvironmentVariable {
    const char* name;
    const char* meaning;
};

inline constexpr EnvironmentVariable ENVIRONMENT[] = {
    {"REPOSITORY_DICOM_DATA", "root of the repository"},
    {"REPOSITORY_HANDLER_HOME", "directory whose lib holds the plug-in RepositoryHandler.so"},
    {"LOCK_VAR", "directory of the lock files, the same for all processes"},
    {"DBNAME", "database with the auto-forward devices"},
    {"ARQ_USER", "database user"},
    {"MYSQL_UNIX_PORT", "socket of the database server; takes precedence over host and port"},
    {"MYSQL_HOST", "host of the database server"},
    {"MYSQL_TCP_PORT", "port of the database server"},
    {"TARGETTBL", "table of the devices (columns ID, TYPE)"},
    {"DEVSERVTBL", "table of the devices' services (columns DEVICE, SERVICE)"},
    {"LOG_FACILITY", "facility of the system log, local0 to local7"},
    {"LOG_OPER_FACILITY", "facility of the system log for operator messages, local0 to local7"},
};

} // namespace storestate

#endif
