#include "db/DB_Query.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace {

/**
 * The client library's first use is not safe in several threads at once, and as its last step it makes the process
 * ignore SIGPIPE, which belongs to the virtual machine. So it happens once, here, and SIGPIPE is as it was right after.
 */
bool clientLibraryReady() {
    static std::mutex mutex;
    static bool ready = false;
    const std::lock_guard<std::mutex> guard(mutex);
    if (!ready) {
        struct sigaction before = {};
        sigaction(SIGPIPE, nullptr, &before);
        ready = mysql_library_init(0, nullptr, nullptr) == 0;
        sigaction(SIGPIPE, &before, nullptr);
    }
    return ready;
}

constexpr char NO_PASSWORD[] = ""; ///< not null, for which the client library would send $MYSQL_PWD

unsigned int portNumber(const char* text) {
    return static_cast<unsigned int>(std::clamp<long>(strtol(text, nullptr, 10), 0, INT32_MAX));
}

} // namespace

DB_Query::~DB_Query() {
    releaseResult();
    if (connection != nullptr) {
        mysql_close(connection);
    }
}

void DB_Query::releaseResult() {
    if (result != nullptr) {
        mysql_free_result(result);
    }
    result = nullptr;
    row = nullptr;
}

int DB_Query::fail(const char* message) {
    errorText.set(message);
    return 0;
}

int DB_Query::failWithSqlError(const char* message) {
    errorText.set(message).append(mysql_error(connection));
    return 0;
}

int DB_Query::failWithQuery(const char* operation, const char* what, const char* query) {
    errorText.set(operation).append(what).append(mysql_error(connection)).append("\nQuery: ").append(query);
    return 0;
}

int DB_Query::init() {
    if (!openConnection()) {
        return fail("DB_Query init() Insufficient Memory at connection allocation.\n");
    }
    const char* database = getenv("DBNAME");
    if (database == nullptr) {
        return fail("DB_Query init(): No DBNAME environment variable is set\n");
    }
    const char* user = getenv("ARQ_USER");
    const char* socket = getenv("MYSQL_UNIX_PORT");
    const bool local = socket != nullptr && *socket != '\0';
    if (!(local ? connectSocket(user, database, socket) : connectTcp(user, database))) {
        return 0;
    }
    errorText.set("");
    return 1;
}

bool DB_Query::openConnection() {
    releaseResult();
    if (connection != nullptr) {
        mysql_close(connection);
        connection = nullptr;
    }
    connection = clientLibraryReady() ? mysql_init(nullptr) : nullptr;
    return connection != nullptr;
}

bool DB_Query::connectSocket(const char* user, const char* database, const char* socket) {
    if (mysql_real_connect(connection, nullptr, user, NO_PASSWORD, database, 0, socket, 0) == nullptr) {
        return failWithSqlError("DB_Query init() Can't connect to database via unix socket because SQL error:\n");
    }
    return true;
}

bool DB_Query::connectTcp(const char* user, const char* database) {
    const char* host = getenv("MYSQL_HOST");
    if (host == nullptr) {
        return fail("DB_Query init(): Neither MYSQL_UNIX_PORT nor MYSQL_HOST environment variable is set\n");
    }
    const char* port = getenv("MYSQL_TCP_PORT");
    if (port == nullptr) {
        return fail("DB_Query init(): Neither MYSQL_TCP_PORT environment variable is not set for MYSQL_HOST\n");
    }
    if (mysql_real_connect(connection, host, user, NO_PASSWORD, database, portNumber(port), nullptr, 0) == nullptr) {
        return failWithSqlError("DB_Query init() Can't connect to database because SQL error:\n");
    }
    return true;
}

int DB_Query::isReady() {
    errorText.set("");
    if (connection == nullptr || mysql_query(connection, "SHOW TABLES") != 0) {
        return 0;
    }
    mysql_free_result(mysql_store_result(connection));
    return 1;
}

/** What newQuery() and executeUpdate() begin with: the preconditions, the end of the old result, the statement. */
bool DB_Query::send(const char* operation, const char* query) {
    const char* missing = connection == nullptr ? "() precondition error: there is no connection.\n"
                          : query == nullptr    ? "() precondition error: there is no query.\n"
                                                : nullptr;
    if (missing != nullptr) {
        errorText.set(operation).append(missing);
        return false;
    }
    releaseResult();
    return mysql_query(connection, query) == 0 ||
           failWithQuery(operation, "() Can't do query, because SQL error:\n", query);
}

int DB_Query::newQuery(const char* query) {
    if (!send("newQuery", query)) {
        return 0;
    }
    result = mysql_store_result(connection);
    if (result == nullptr) {
        return failWithQuery("newQuery", "() Can't get query result, because SQL error:\n", query);
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
        return fail("getField() precondition error: there is no record.\n");
    }
    if (columnIdx >= mysql_field_count(connection)) {
        return fail("getField() precondition error: too large columnIdx.\n");
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
        return fail("countQuery() precondition error: there is no connection.\n");
    }
    if (result == nullptr) {
        return fail("countQuery() precondition error: there is no result and/or query.\n");
    }
    errorText.set("");
    return static_cast<uint32_t>(mysql_num_rows(result));
}

int32_t DB_Query::affectedRows() {
    if (connection == nullptr) {
        return fail("affectedRows() precondition error: there is no connection.\n") - 1;
    }
    errorText.set("");
    return static_cast<int32_t>(mysql_affected_rows(connection));
}
