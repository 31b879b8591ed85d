#include "db/DB_Query.h"
#include "support/Testing.h"

#include <regex>

/** A session, whose results are compared together with what it says about them. */
class Database : public ::testing::Test {
protected:
    /** "..." is the server's own explanation, which begins with a capital. */
    std::string report(int64_t result) const {
        const std::regex explanation("\n(?!Query: )[A-Z].*");
        return std::regex_replace(std::to_string(result) + " " + session.errorText.text, explanation, "\n...");
    }
    /** A field's text; what the session says when there is none. */
    std::string field(unsigned int column) {
        const char* text = session.getField(column);
        return text != nullptr ? text : report(0);
    }

    const std::string socket = serverSetting("MYSQL_UNIX_PORT"), port = serverSetting("STORESTATE_TCP_PORT");
    DB_Query session;
};

TEST_F(Database, InitSaysWhatIsMissing) {
    const char* const variables[] = {"DBNAME", "MYSQL_UNIX_PORT", "MYSQL_HOST", "MYSQL_TCP_PORT"};
    const struct {
        const char* values[4]; // of the variables; null: unset
        std::string failure = "";
    } cases[] = {
        {{}, "(): No DBNAME environment variable is set\n"},
        {{"archive", "", nullptr, "1"}, "(): Neither MYSQL_UNIX_PORT nor MYSQL_HOST environment variable is set\n"},
        {{"archive", nullptr, "::1"}, "(): Neither MYSQL_TCP_PORT environment variable is not set for MYSQL_HOST\n"},
        {{"archive", "/nowhere", "127.0.0.1", port.c_str()},
         "() Can't connect to database via unix socket because SQL error:\n..."},
        {{"archive", nullptr, "127.0.0.1", "1x"}, "() Can't connect to database because SQL error:\n..."},
        {{"archive", socket.c_str(), "no.such.host.invalid", "1"}},
        {{"archive", "", "127.0.0.1", port.c_str()}},
    };
    setenv("MYSQL_PWD", "never sent, or the server would refuse it", 1);
    for (const auto& [values, failure] : cases) {
        for (size_t i = 0; i < std::size(variables); ++i) {
            setVariable(variables[i], values[i]);
        }
        EXPECT_EQ(report(session.init()), failure.empty() ? "1 " : "0 DB_Query init" + failure);
        EXPECT_EQ(report(session.isReady()), failure.empty() ? "1 " : "0 ") << failure;
    }
}

TEST_F(Database, RowsAreReadOneByOne) {
    const std::string noRecord = "0 getField() precondition error: there is no record.\n";
    ASSERT_EQ(report(session.init()), "1 ");
    EXPECT_EQ(report(session.countQuery()), "0 countQuery() precondition error: there is no result and/or query.\n");
    ASSERT_EQ(report(session.newQuery("select 'a', null union all select current_user(), ''")), "1 ");
    EXPECT_EQ(report(session.countQuery()), "2 ");
    EXPECT_EQ(field(0), noRecord);
    ASSERT_EQ(session.nextRecord(), 1);
    EXPECT_EQ(field(2), "0 getField() precondition error: too large columnIdx.\n");
    EXPECT_EQ(field(1), "0 ") << "an SQL NULL is no failure";
    char untouched = 0, *copy = &untouched;
    session.copyFieldValue(1, &copy);
    EXPECT_EQ(copy, &untouched);
    session.copyFieldValue(0, &copy);
    EXPECT_EQ(std::unique_ptr<char[]>(copy).get(), std::string("a"));
    ASSERT_EQ(session.nextRecord(), 1);
    EXPECT_EQ(field(0), serverSetting("ARQ_USER") + "@localhost");
    EXPECT_EQ(session.nextRecord(), 0);
    EXPECT_EQ(field(0), noRecord);
    ASSERT_EQ(report(session.newQuery("select 1")), "1 ");
    ASSERT_EQ(session.nextRecord(), 1);
    ASSERT_EQ(report(session.newQuery("select 2")), "1 ");
    EXPECT_EQ(field(0), noRecord) << "the row went with its result";
}

TEST_F(Database, FailedStatementsAreExplained) {
    const std::string unconnected = "() precondition error: there is no connection.\n",
                      noQuery = "() precondition error: there is no query.\n",
                      failed = "() Can't do query, because SQL error:\n...\nQuery: ";
    EXPECT_EQ(report(session.newQuery("select 1")), "0 newQuery" + unconnected);
    EXPECT_EQ(report(session.executeUpdate("select 1")), "0 executeUpdate" + unconnected);
    EXPECT_EQ(report(session.affectedRows()), "-1 affectedRows" + unconnected);
    EXPECT_EQ(report(session.countQuery()), "0 countQuery" + unconnected);
    EXPECT_EQ(session.isReady(), 0);
    ASSERT_EQ(report(session.init()), "1 ");
    EXPECT_EQ(report(session.executeUpdate("create temporary table t (n int) select 1 as n")), "1 ");
    EXPECT_EQ(report(session.affectedRows()), "1 ");
    EXPECT_EQ(report(session.newQuery("update t set n = 3")),
              "0 newQuery() Can't get query result, because SQL error:\n\nQuery: update t set n = 3");
    EXPECT_EQ(report(session.executeUpdate("drop table x")), "0 executeUpdate" + failed + "drop table x");
    ASSERT_EQ(session.newQuery("select 1"), 1);
    EXPECT_EQ(report(session.newQuery(nullptr)), "0 newQuery" + noQuery);
    EXPECT_EQ(session.nextRecord(), 0) << "the old result is gone";
    EXPECT_EQ(report(session.executeUpdate(nullptr)), "0 executeUpdate" + noQuery);
    EXPECT_EQ(report(session.newQuery("kill connection_id()")), "0 newQuery" + failed + "kill connection_id()");
    EXPECT_EQ(report(session.affectedRows()), "-1 ");
    EXPECT_EQ(session.isReady(), 0) << "the server is gone";
}
