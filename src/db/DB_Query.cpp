#include "db/DB_Query.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace {

/**
 * The first mysql_init() initialises the client library. That is not thread-safe in every version, and it makes the
 * process ignore SIGPIPE, which belongs to the virtual machine. Therefore a mutex guards it, and the old handler of
 * SIGPIPE is restored at once.
 */
MYSQL* newHandle() {
    static std::mutex mutex;
    static bool libraryReady = false;
    const std::lock_guard<std::mutex> guard(mutex);
    if (libraryReady) {
        return mysql_init(nullptr);
    }
    struct sigaction before = {};
    sigaction(SIGPIPE, nullptr, &before);
    MYSQL* handle = mysql_init(nullptr);
    sigaction(SIGPIPE, &before, nullptr);
    libraryReady = handle != nullptr;
    return handle;
}

/** An empty password or null. For null the client library would send $MYSQL_PWD if that is set. */
const char* noPassword() {
    return getenv("MYSQL_PWD") != nullptr ? "" : nullptr;
}

unsigned int portNumber(const char* text) {
    return static_cast<unsigned int>(std::clamp<long>(strtol(text, nullptr, 10), 0, INT32_MAX));
}

/** MYSQL_UNIX_PORT if it is set and not empty; otherwise null: MYSQL_HOST and MYSQL_TCP_PORT are used. */
const char* databaseSocket() {
    const char* socket = getenv("MYSQL_UNIX_PORT");
    return socket != nullptr && *socket != '\0' ? socket : nullptr;
}

} // namespace

DB_Query::~DB_Query() {
    releaseResult();
    mysql_close(connection);
}

void DB_Query::releaseResult() {
    mysql_free_result(result); // null is allowed, as in mysql_close()
    result = nullptr;
    row = nullptr;
}

void DB_Query::explainSqlError(const char* what) {
    errorText.set(what).append(mysql_error(connection));
}

void DB_Query::explainQuery(const char* operation, const char* what, const char* query) {
    errorText.set(operation).append(what).append(mysql_error(connection)).append("\nQuery: ").append(query);
}

int DB_Query::init() {
    openConnection();
    if (connection == nullptr) {
        errorText.set("DB_Query init() Insufficient Memory at connection allocation.\n");
        return 0;
    }
    const char* database = getenv("DBNAME");
    if (database == nullptr) {
        errorText.set("DB_Query init(): No DBNAME environment variable is set\n");
        return 0;
    }
    const char* user = getenv("ARQ_USER");
    const char* socket = databaseSocket();
    if (!(socket != nullptr ? connectSocket(user, database, socket) : connectTcp(user, database))) {
        return 0;
    }
    errorText.set("");
    return 1;
}

void DB_Query::openConnection() {
    releaseResult();
    mysql_close(connection);
    connection = newHandle();
}

bool DB_Query::connectSocket(const char* user, const char* database, const char* socket) {
    if (mysql_real_connect(connection, nullptr, user, noPassword(), database, 0, socket, 0) == nullptr) {
        explainSqlError("DB_Query init() Can't connect to database via unix socket because SQL error:\n");
        return false;
    }
    return true;
}

bool DB_Query::connectTcp(const char* user, const char* database) {
    const char* host = getenv("MYSQL_HOST");
    if (host == nullptr) {
        errorText.set("DB_Query init(): Neither MYSQL_UNIX_PORT nor MYSQL_HOST environment variable is set\n");
        return false;
    }
    const char* port = getenv("MYSQL_TCP_PORT");
    if (port == nullptr) {
        errorText.set("DB_Query init(): Neither MYSQL_TCP_PORT environment variable is not set for MYSQL_HOST\n");
        return false;
    }
    if (mysql_real_connect(connection, host, user, noPassword(), database, portNumber(port), nullptr, 0) == nullptr) {
        explainSqlError("DB_Query init() Can't connect to database because SQL error:\n");
        return false;
    }
    return true;
}

int DB_Query::isReady() {
    errorText.set("");
    if (connection == nullptr || mysql_query(connection, "SHOW TABLES") != 0) {
        return 0;
    }
    MYSQL_RES* tables = mysql_store_result(connection);
    if (tables == nullptr) {
        return 0;
    }
    mysql_free_result(tables);
    return 1;
}

/** The common start of newQuery() and executeUpdate(): checks, releases the old result and sends the statement. */
bool DB_Query::send(const char* operation, const char* query) {
    if (connection == nullptr) {
        errorText.set(operation).append("() precondition error: there is no connection.\n");
        return false;
    }
    releaseResult();
    if (query == nullptr) {
        errorText.set(operation).append("() precondition error: there is no query.\n");
        return false;
    }
    if (mysql_query(connection, query) != 0) {
        explainQuery(operation, "() Can't do query, because SQL error:\n", query);
        return false;
    }
    return true;
}

int DB_Query::newQuery(const char* query) {
    if (!send("newQuery", query)) {
        return 0;
    }
    result = mysql_store_result(connection);
    if (result == nullptr) {
        explainQuery("newQuery", "() Can't get query result, because SQL error:\n", query);
        return 0;
    }
    errorText.set("");
    return 1;
}

int DB_Query::executeUpdate(const char* query) {
    if (!send("executeUpdate", query)) {
        return 0;
    }
    errorText.set("");
    return 1;
}

int DB_Query::nextRecord() {
    row = result != nullptr ? mysql_fetch_row(result) : nullptr;
    return row != nullptr;
}

bool DB_Query::hasField(unsigned int columnIdx) {
    if (row == nullptr) {
        errorText.set("getField() precondition error: there is no record.\n");
        return false;
    }
    if (columnIdx >= mysql_field_count(connection)) {
        errorText.set("getField() precondition error: too large columnIdx.\n");
        return false;
    }
    errorText.set("");
    return true;
}

const char* DB_Query::getField(unsigned int columnIdx) {
    return hasField(columnIdx) ? row[columnIdx] : nullptr;
}

void DB_Query::copyFieldValue(unsigned int columnIdx, char** out) {
    const char* value = getField(columnIdx);
    if (value != nullptr) {
        const size_t size = strlen(value) + 1;
        *out = static_cast<char*>(memcpy(new char[size], value, size));
    }
}

uint32_t DB_Query::countQuery() {
    if (connection == nullptr) {
        errorText.set("countQuery() precondition error: there is no connection.\n");
        return 0;
    }
    if (result == nullptr) {
        errorText.set("countQuery() precondition error: there is no result and/or query.\n");
        return 0;
    }
    errorText.set("");
    return static_cast<uint32_t>(mysql_num_rows(result));
}

int32_t DB_Query::affectedRows() {
    if (connection == nullptr) {
        errorText.set("affectedRows() precondition error: there is no connection.\n");
        return -1;
    }
    errorText.set("");
    return static_cast<int32_t>(mysql_affected_rows(connection));
}
