#include "db/DB_Query.h"

#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <string>

/** Sets or, with null, unsets. */
static void setVariable(const char* name, const char* value) {
    value != nullptr ? setenv(name, value, 1) : unsetenv(name);
}

TEST(Database, InitSaysWhatIsMissing) {
    const std::string socket = getenv("MYSQL_UNIX_PORT");
    const char* port = getenv("STORESTATE_TCP_PORT");
    const char* viaSocket = "DB_Query init() Can't connect to database via unix socket because SQL error:\n";
    const char* viaTcp = "DB_Query init() Can't connect to database because SQL error:\n";
    const struct {
        const char *database, *socket, *host, *port, *error;
    } cases[] = {
        {nullptr, nullptr, nullptr, nullptr, "DB_Query init(): No DBNAME environment variable is set\n"},
        {"archive", "", nullptr, "1",
         "DB_Query init(): Neither MYSQL_UNIX_PORT nor MYSQL_HOST environment variable is set\n"},
        {"archive", nullptr, "127.0.0.1", nullptr,
         "DB_Query init(): Neither MYSQL_TCP_PORT environment variable is not set for MYSQL_HOST\n"},
        {"archive", "/nowhere", "127.0.0.1", port, viaSocket},
        {"archive", nullptr, "127.0.0.1", "1x", viaTcp},
        {"missing", socket.c_str(), nullptr, nullptr, viaSocket},
        {"archive", socket.c_str(), "no.such.host.invalid", "1", ""},
        {"archive", "", "127.0.0.1", port, ""},
    };
    DB_Query session; // one session through all states
    for (const auto& [database, socketPath, host, tcpPort, error] : cases) {
        setVariable("DBNAME", database);
        setVariable("MYSQL_UNIX_PORT", socketPath);
        setVariable("MYSQL_HOST", host);
        setVariable("MYSQL_TCP_PORT", tcpPort);
        const std::string expected = error;
        EXPECT_EQ(session.init(), expected.empty());
        const std::string text = session.errorText.text;
        const bool withReason = expected == viaSocket || expected == viaTcp;
        EXPECT_EQ(text.substr(0, expected.size()), expected);
        EXPECT_EQ(text.size() > expected.size(), withReason) << text;
        EXPECT_EQ(session.isReady(), expected.empty());
        EXPECT_STREQ(session.errorText.text, "");
    }
}

TEST(Database, StatementsBeforeInitAreRefused) {
    DB_Query session;
    const std::string tail = "() precondition error: there is no connection.\n";
    EXPECT_EQ(session.newQuery("select 1"), 0);
    EXPECT_EQ(session.errorText.text, "newQuery" + tail);
    EXPECT_EQ(session.executeUpdate("select 1"), 0);
    EXPECT_EQ(session.errorText.text, "executeUpdate" + tail);
    EXPECT_EQ(session.affectedRows(), -1);
    EXPECT_EQ(session.errorText.text, "affectedRows" + tail);
    EXPECT_EQ(session.countQuery(), 0U);
    EXPECT_EQ(session.errorText.text, "countQuery" + tail);
    EXPECT_EQ(session.isReady() + session.nextRecord(), 0);
}

TEST(Database, RowsAreReadOneByOne) {
    struct sigaction before = {};
    struct sigaction after = {};
    signal(SIGPIPE, [](int) {});
    sigaction(SIGPIPE, nullptr, &before);
    DB_Query session;
    ASSERT_EQ(session.init(), 1) << session.errorText.text;
    sigaction(SIGPIPE, nullptr, &after);
    EXPECT_EQ(before.sa_handler, after.sa_handler) << "the virtual machine's, as it was";

    EXPECT_EQ(session.countQuery(), 0U);
    EXPECT_STREQ(session.errorText.text, "countQuery() precondition error: there is no result and/or query.\n");
    ASSERT_EQ(session.newQuery("select 'a', null union all select 'b', ''"), 1) << session.errorText.text;
    EXPECT_EQ(session.countQuery(), 2U);
    EXPECT_EQ(session.getField(0), nullptr);
    const char* noRecord = "getField() precondition error: there is no record.\n";
    EXPECT_STREQ(session.errorText.text, noRecord);
    ASSERT_EQ(session.nextRecord(), 1);
    EXPECT_EQ(session.getField(2), nullptr);
    EXPECT_STREQ(session.errorText.text, "getField() precondition error: too large columnIdx.\n");
    EXPECT_EQ(session.getField(1), nullptr);
    EXPECT_STREQ(session.errorText.text, "") << "an SQL NULL is no failure";
    char untouched = 0;
    char* copy = &untouched;
    session.copyFieldValue(1, &copy);
    EXPECT_EQ(copy, &untouched);
    session.copyFieldValue(0, &copy);
    EXPECT_STREQ(std::unique_ptr<char[]>(copy).get(), "a");
    ASSERT_EQ(session.nextRecord(), 1);
    EXPECT_STREQ(session.getField(0), "b");
    EXPECT_EQ(session.nextRecord() + session.nextRecord(), 0);
    session.copyFieldValue(0, &copy);
    EXPECT_STREQ(session.errorText.text, noRecord);
}

TEST(Database, FailedStatementsAreExplained) {
    DB_Query session;
    ASSERT_EQ(session.init(), 1) << session.errorText.text;
    ASSERT_EQ(session.executeUpdate("create temporary table t (n int) select 1 as n"), 1) << session.errorText.text;
    EXPECT_EQ(session.executeUpdate("update t set n = 2"), 1);
    EXPECT_EQ(session.affectedRows(), 1);
    const struct {
        int (DB_Query::*run)(const char*);
        const char *query, *beginning, *end;
    } cases[] = {
        {&DB_Query::newQuery, "selec", "newQuery() Can't do query, because SQL error:\nYou have", "\nQuery: selec"},
        {&DB_Query::newQuery, "update t set n = 3",
         "newQuery() Can't get query result, because SQL error:\n\nQuery: ", "update t set n = 3"},
        {&DB_Query::executeUpdate, "drop table nothing", "executeUpdate() Can't do query, because SQL error:\nUnknown",
         "\nQuery: drop table nothing"},
        {&DB_Query::newQuery, nullptr, "newQuery() precondition error: there is no query.\n", ""},
        {&DB_Query::executeUpdate, nullptr, "executeUpdate() precondition error: there is no query.\n", ""},
        {&DB_Query::newQuery, "kill connection_id()", "newQuery() Can't do query, because SQL error:\n", "id()"},
        {&DB_Query::newQuery, "select 1", "newQuery() Can't do query, because SQL error:\n", "select 1"},
    };
    for (const auto& [run, query, beginning, end] : cases) {
        EXPECT_EQ((session.*run)(query), 0);
        const std::string text = session.errorText.text;
        EXPECT_EQ(text.rfind(beginning, 0), 0U) << text;
        EXPECT_EQ(text.substr(text.size() - strlen(end)), end);
    }
    EXPECT_EQ(session.affectedRows(), -1);
    EXPECT_EQ(session.isReady(), 0) << "the server is gone";
}
