package bench;

import java.sql.Connection;
import java.sql.DriverManager;
import java.sql.PreparedStatement;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Statement;
import java.util.Properties;

/**
 * SQLite through JDBC, one row per study: read the row, change it, commit durably.
 *
 * <p>It does less: the fields are not parsed, there is no plug-in and no log line, and one writer at a time blocks all
 * studies.
 */
final class SqliteStore implements Subject, AutoCloseable {
    private static final String[] COLUMNS = {"version", "owner", "processMode", "stageState", "folder", "source",
        "archive", "derived", "sourceStudy", "studyOwner", "retrieved", "dontEdit", "dontDelete", "staged", "forward"};
    private static final int STAGE_STATE = 3;

    private final String url;
    private final String[] studies;
    private final Properties settings = new Properties();
    private final Session kept;

    SqliteStore(Place place, String file, String[] studies, String record, boolean keepOpen) throws SQLException {
        url = "jdbc:sqlite:" + place.root.resolve(file);
        this.studies = studies;
        settings.setProperty("synchronous", "EXTRA");
        settings.setProperty("busy_timeout", "20000");
        settings.setProperty("transaction_mode", "IMMEDIATE");
        try (Connection connection = DriverManager.getConnection(url, settings)) {
            connection.setAutoCommit(false);
            fill(connection, record.lines().map(SqliteStore::value).toArray(String[] ::new));
        }
        kept = keepOpen ? new Session() : null;
    }

    private static String value(String line) {
        return line.substring(line.indexOf('"') + 1, line.length() - 1);
    }

    private void fill(Connection connection, String[] values) throws SQLException {
        try (Statement statement = connection.createStatement()) {
            statement.executeUpdate(
                "create table record (study text primary key, " + String.join(" text, ", COLUMNS) + " text)");
        }
        String marks = ", ?".repeat(COLUMNS.length);
        try (PreparedStatement insert = connection.prepareStatement("insert into record values (?" + marks + ")")) {
            for (String study : studies) {
                insert.setString(1, study);
                for (int i = 0; i < COLUMNS.length; i++) {
                    insert.setString(i + 2, values[i]);
                }
                insert.executeUpdate();
            }
        }
        connection.commit();
    }

    @Override
    public boolean call(int number) throws SQLException {
        String study = studies[number % studies.length];
        String[] options = Modify.options(number);
        if (kept != null) {
            return kept.modify(study, options);
        }
        try (Session session = new Session()) {
            return session.modify(study, options);
        }
    }

    @Override
    public void close() throws SQLException {
        if (kept != null) {
            kept.close();
        }
    }

    /** A connection with its statements. */
    private final class Session implements AutoCloseable {
        final Connection connection;
        private final PreparedStatement select;
        private final PreparedStatement update;

        Session() throws SQLException {
            connection = DriverManager.getConnection(url, settings);
            connection.setAutoCommit(false);
            select = connection.prepareStatement("select * from record where study = ?");
            update = connection.prepareStatement(
                "update record set " + String.join(" = ?, ", COLUMNS) + " = ? where study = ?");
        }

        boolean modify(String study, String[] options) throws SQLException {
            select.setString(1, study);
            try (ResultSet row = select.executeQuery()) {
                if (!row.next()) {
                    return false;
                }
                for (int i = 0; i < COLUMNS.length; i++) {
                    update.setString(i + 1, i == STAGE_STATE ? options[1] : row.getString(i + 2));
                }
            }
            update.setString(COLUMNS.length + 1, study);
            boolean changed = update.executeUpdate() == 1;
            connection.commit();
            return changed;
        }

        @Override
        public void close() throws SQLException {
            connection.close();
        }
    }
}
