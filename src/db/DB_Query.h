/**
 * A small session with the MySQL server that the environment names.
 *
 *   DBNAME                        the database, required
 *   ARQ_USER                      the user; if unset, the client library's default. No password is ever sent, not even
 *                                 MYSQL_PWD, which the client library would use
 *   MYSQL_UNIX_PORT               path of the server's socket, used if set and not empty
 *   MYSQL_HOST, MYSQL_TCP_PORT    otherwise both are required; the client library takes "localhost" as a socket
 *
 * No operation throws when the database fails. Each one reports failure by its result, and all but isReady() and
 * nextRecord() explain it in `errorText`. A success empties that text. There are no timeouts: an operation waits as
 * long as the server does not answer.
 *
 * A session belongs to one thread at a time. Several threads may create and use separate sessions in parallel.
 */
#ifndef DB_DB_QUERY_H
#define DB_DB_QUERY_H

#include "db/StringBuffer.h"

#include <cstdint>
#include <mysql.h>

class DB_Query {
public:
    /** Makes no connection. */
    DB_Query() = default;
    DB_Query(const DB_Query&) = delete;
    DB_Query& operator=(const DB_Query&) = delete;

    /** Releases the result and closes the connection. */
    ~DB_Query();

    /** Closes an open connection and connects anew. 1: connected, 0: failed. */
    int init();

    /**
     * 1: the server answered a test query. 0: there is no connection, the query failed or its result was lost. Empties
     * `errorText` in all cases. Keeps the result, but until the next query no column other than 0 can be read, and none
     * if the test query failed.
     */
    int isReady();

    /**
     * Runs a statement that yields rows and fetches them all; an empty set of rows is a success. 1: done, 0: failed.
     * `query` must be neither a field of this session's result nor its error text: the call frees both.
     */
    int newQuery(const char* query);

    /**
     * Runs a statement that yields no rows. 1: done, 0: failed. `query` as in newQuery(). If the statement does yield
     * rows, the session is usable again only after init().
     */
    int executeUpdate(const char* query);

    /** Moves to the next row of the result. 1: there is a row, 0: there is none. Does not change `errorText`. */
    int nextRecord();

    /**
     * The text of a column of the current row. It belongs to the session and stays valid until the next row, query or
     * init(). Null for an SQL NULL. Null with an `errorText` if there is no row or no such column.
     */
    const char* getField(unsigned int columnIdx);

    /**
     * As getField(), but stores a copy in `*out`, which the caller frees with delete[]. `*out` does not change for an
     * SQL NULL or on failure.
     */
    void copyFieldValue(unsigned int columnIdx, char** out);

    /** Number of rows of the result. 0 with an `errorText` if there is no result. */
    uint32_t countQuery();

    /**
     * Number of rows that the last statement changed; -1 if the statement failed. Before init() -1 with an `errorText`;
     * after a failed init() what the client library returns, usually 0.
     */
    int32_t affectedRows();

    StringBuffer errorText; ///< the reason of the last failure; empty after a success

protected:
    MYSQL* connection = nullptr; ///< null until init() has allocated it

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
