#include "db/DB_Query.h"
#include "support/Testing.h"

#include <regex>

namespace {

class Database : public testing::Test {
protected:
    /** "<result> <error text>", with "..." in place of the server's own explanation, which begins with a capital. */
    std::string report(int64_t result) const {
        const std::regex explanation("\n(?!Query: )[A-Z].*");
        return std::regex_replace(std::to_string(result) + " " + session.errorText.text, explanation, "\n...");
    }

    DB_Query session;
};

TEST_F(Database, InitConnectsAnewAsTheEnvironmentSays) {
    const std::string socket = serverSetting("MYSQL_UNIX_PORT");
    const std::string port = serverSetting("STORESTATE_TCP_PORT");
    using Value = const char*; // null: unset
    const std::tuple<Value, Value, Value, Value, std::string> cases[] = {
        {nullptr, nullptr, nullptr, nullptr, "(): No DBNAME environment variable is set\n"},
        {"archive", "", nullptr, "1", "(): Neither MYSQL_UNIX_PORT nor MYSQL_HOST environment variable is set\n"},
        {"archive", nullptr, "::1", nullptr,
         "(): Neither MYSQL_TCP_PORT environment variable is not set for MYSQL_HOST\n"},
        {"archive", "/nowhere", "127.0.0.1", port.c_str(),
         "() Can't connect to database via unix socket because SQL error:\n..."},
        {"archive", nullptr, "127.0.0.1", "1x", "() Can't connect to database because SQL error:\n..."},
        {"archive", socket.c_str(), "no.such.host.invalid", "1", ""},
        {"archive", "", "127.0.0.1", port.c_str(), ""},
    };
    const auto openFiles = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    const auto before = openFiles();
    setenv("MYSQL_PWD", "never sent, or the server would refuse it", 1);
    for (const auto& [database, socketPath, host, portNumber, failure] : cases) {
        setVariable("DBNAME", database);
        setVariable("MYSQL_UNIX_PORT", socketPath);
        setVariable("MYSQL_HOST", host);
        setVariable("MYSQL_TCP_PORT", portNumber);
        EXPECT_EQ(report(session.init()), failure.empty() ? "1 " : "0 DB_Query init" + failure);
        EXPECT_EQ(report(session.countQuery()),
                  "0 countQuery() precondition error: there is no result and/or query.\n");
        EXPECT_EQ(report(session.isReady()), failure.empty() ? "1 " : "0 ") << failure;
        session.newQuery("select 1"); // whose result the next init() drops
    }
    EXPECT_EQ(openFiles(), before + 1) << "one connection";
}

TEST_F(Database, RowsAreReadOneByOneAndGoWithTheirResult) {
    const std::string noRecord = "0 getField() precondition error: there is no record.\n";
    const auto reportOf = [&](const char* field) { return report(field != nullptr); };
    ASSERT_EQ(report(session.init()), "1 ");
    ASSERT_EQ(report(session.newQuery("select 'a', null union all select current_user(), ''")), "1 ");
    EXPECT_EQ(report(session.countQuery()), "2 ");
    EXPECT_EQ(reportOf(session.getField(0)), noRecord);
    ASSERT_EQ(session.nextRecord(), 1);
    EXPECT_EQ(reportOf(session.getField(2)), "0 getField() precondition error: too large columnIdx.\n");
    EXPECT_EQ(reportOf(session.getField(1)), "0 ") << "an SQL NULL is no failure";
    char untouched = 0;
    char* copy = &untouched;
    session.copyFieldValue(1, &copy);
    EXPECT_EQ(copy, &untouched);
    session.copyFieldValue(0, &copy);
    EXPECT_EQ(std::unique_ptr<char[]>(copy).get(), std::string("a"));
    ASSERT_EQ(session.nextRecord(), 1);
    EXPECT_THAT(session.getField(0), testing::StartsWith(serverSetting("ARQ_USER") + "@"));
    EXPECT_EQ(report(session.newQuery(nullptr)), "0 newQuery() precondition error: there is no query.\n");
    EXPECT_EQ(session.nextRecord(), 0);
    ASSERT_EQ(report(session.newQuery("select 2")), "1 ");
    EXPECT_EQ(reportOf(session.getField(0)), noRecord);
    ASSERT_EQ(report(session.init()), "1 ");
    EXPECT_EQ(report(session.executeUpdate("create temporary table t (n int) select 1 as n")), "1 ");
    EXPECT_EQ(report(session.affectedRows()), "1 ");
    EXPECT_EQ(report(session.newQuery("update t set n = 3")),
              "0 newQuery() Can't get query result, because SQL error:\n\nQuery: update t set n = 3");
    EXPECT_EQ(report(session.executeUpdate("drop table x")),
              "0 executeUpdate() Can't do query, because SQL error:\n...\nQuery: drop table x");
    EXPECT_EQ(report(session.affectedRows()), "-1 ");
}

} // namespace
