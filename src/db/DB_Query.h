/**
 * A small session with the MySQL server that the environment names.
 *
 *   DBNAME                        the database, required
 *   ARQ_USER                      the user; the client library's default when unset. No password is ever sent, not even
 *                                 MYSQL_PWD, which the client library would read
 *   MYSQL_UNIX_PORT               path of the server's socket, used when set and not empty
 *   MYSQL_HOST, MYSQL_TCP_PORT    otherwise both are required; the client library takes "localhost" as a socket
 *
 * No operation throws for a failure of the database: each reports by its result, and all but isReady() and
 * nextRecord() explain the last failure in `errorText`, which a success empties. There are no time-outs: an operation
 * waits as long as the server makes it wait.
 *
 * A session belongs to one thread at a time; sessions of several threads may be made and used side by side.
 */
#ifndef DB_DB_QUERY_H
#define DB_DB_QUERY_H

#include "db/StringBuffer.h"

#include <cstdint>
#include <mysql.h>

namespace storestate {

/** MYSQL_UNIX_PORT when it counts, that is, when it is set and not empty; null: MYSQL_HOST and MYSQL_TCP_PORT do. */
const char* databaseSocket();

} // namespace storestate

class DB_Query {
public:
    /** Makes no connection. */
    DB_Query() = default;
    DB_Query(const DB_Query&) = delete;
    DB_Query& operator=(const DB_Query&) = delete;

    /** Releases the result and closes the connection. */
    ~DB_Query();

    /** Connects, after closing what was open. 1: connected, 0: failed. */
    int init();

    /**
     * 1: connected and answering; `errorText` becomes empty either way. The result stays, but until the next query
     * only column 0 of its rows can be read.
     */
    int isReady();

    /** Runs a statement that yields rows and fetches them all. 1: done, 0: failed (no rows at all is no failure). */
    int newQuery(const char* query);

    /** Runs a statement that yields no rows (after one that does, only init() goes on). 1: done, 0: failed. */
    int executeUpdate(const char* query);

    /** Moves to the next row of the result. 1: there is one, 0: there is none. `errorText` stays as it is. */
    int nextRecord();

    /**
     * The text of a column of the current row, owned by the session and valid until the next row, query or release.
     * Null for an SQL NULL, and with an `errorText` when there is no row or no such column.
     */
    const char* getField(unsigned int columnIdx);

    /**
     * As getField(), but stores a copy in `*out`, which the caller frees with delete[]. `*out` stays as it is for an
     * SQL NULL and on failure.
     */
    void copyFieldValue(unsigned int columnIdx, char** out);

    /** Number of rows of the result; 0 with an `errorText` when there is none. */
    uint32_t countQuery();

    /** Number of rows that the last statement changed; -1 when it failed, or with an `errorText`, not connected. */
    int32_t affectedRows();

    StringBuffer errorText; ///< why the last operation failed; empty after a success

protected:
    MYSQL* connection = nullptr; ///< null until init() has made one

private:
    void openConnection();
    bool connectSocket(const char* user, const char* database, const char* socket);
    bool connectTcp(const char* user, const char* database);
    bool send(const char* operation, const char* query);
    bool hasField(unsigned int columnIdx);
    void releaseResult();
    void explainSqlError(const char* what);
    void explainQuery(const char* operation, const char* what, const char* query);

    MYSQL_RES* result = nullptr; ///< of the last successful newQuery()
    MYSQL_ROW row = nullptr;     ///< null, or a row of `result`
};

#endif
