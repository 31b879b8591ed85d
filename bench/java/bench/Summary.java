package bench;

import java.util.Arrays;
import java.util.Locale;
import java.util.Map;

/** What README shows of a whole run: a table in Markdown and a picture. */
final class Summary {
    private static final String[][] PEERS = {{"floor: the bare system calls", "bare system calls"},
        {"modify", "modify"}, {"java.nio (no plug-in, log, check)", "plain Java"},
        {"SQLite, connection kept open (the same)", "SQLite, one connection"},
        {"SQLite, connection per call (no plug-in, log, parsing)", "SQLite, connection per call"}};
    private static final String[] PLACES = {"tmpfs", "disk"};
    private static final String[] NAMES = {"in memory", "on a disk"};

    private final Report report;
    private final String machine;

    Summary(Report report, String machine) {
        this.report = report;
        this.machine = machine;
    }

    String table() {
        StringBuilder table =
            new StringBuilder("| one call | in memory | × | on a disk | × |\n| --- | --: | --: | --: | --: |\n");
        for (String[] peer : PEERS) {
            row(table, peer[1], "modify", peer[0]);
        }
        row(table, "modify of a record with 1000 devices", "devices", "modify, devices: 1000");
        row(table, "modify among 10,000 studies", "studies", "modify, studies: 10000");
        row(table, "modify among 100,000 studies", "studies", "modify, studies: 100000");
        row(table, "modify by two threads", "threads", "modify, threads: 2");
        row(table, "modify by eight threads", "threads", "modify, threads: 8");
        return table + "\n" + machine + ".\n";
    }

    /** Microseconds, and how many times the bare system calls; nothing where it was not measured. */
    private void row(StringBuilder table, String name, String section, String row) {
        table.append("| ").append(name);
        for (String place : PLACES) {
            Map<String, Double> figures = report.row(section + ", " + place, row);
            if (figures == null) {
                table.append(" | |");
                continue;
            }
            // Repositories are compared with a small one instead.
            double base = section.equals("studies") ? report.figure("modify, " + place, "modify", "ratio") : 1;
            double ratio = base * figures.get("ratio");
            table.append(String.format(Locale.ROOT, " | %.0f µs | %.2f", figures.get("micros"), ratio));
        }
        table.append(" |\n");
    }

    String picture() {
        Picture picture = new Picture(920, 560);
        picture.text(20, 28, "title", "A modify, compared with the bare system calls that it cannot do without");
        for (int place = 0; place < PLACES.length; place++) {
            picture.text(20 + 450 * place, 58, "heading", NAMES[place]);
            double[] ratios = new double[PEERS.length];
            for (int i = 0; i < PEERS.length; i++) {
                ratios[i] = report.figure("modify, " + PLACES[place], PEERS[i][0], "ratio");
            }
            double highest = Arrays.stream(ratios).max().getAsDouble();
            for (int i = 0; i < PEERS.length; i++) {
                picture.bar(20 + 450 * place, 72 + 30 * i, PEERS[i][1], i == 1 ? "ours" : "other", ratios[i], highest);
            }
        }
        picture.text(20, 268, "title", "How it grows");
        for (int place = 0; place < PLACES.length; place++) {
            picture.legend(180 + 120 * place, 268, NAMES[place], PLACES[place]);
        }
        growth(picture, 20, "devices in the record: time", "devices", 1, 1000, 10, false);
        growth(picture, 325, "studies in the repository: time", "studies", 10, 100000, 10, false);
        growth(picture, 630, "threads: calls in the same time", "threads", 1, 8, 2, true);
        picture.text(20, 545, "note", machine);
        return picture.svg();
    }

    /** A curve for each place, relative to its first point; of time, or of calls in the same time. */
    private void growth(
        Picture picture, int x, String title, String section, int first, int last, int factor, boolean rate) {
        Picture.Plot plot = picture.plot(x, 300, title, first, last, factor);
        for (int place = 0; place < PLACES.length; place++) {
            double base = 0;
            for (int count = first; count <= last; count *= factor) {
                Map<String, Double> figures =
                    report.row(section + ", " + PLACES[place], "modify, " + section + ": " + count);
                if (figures != null) {
                    double micros = figures.get("micros");
                    base = count == first ? micros : base;
                    plot.point(PLACES[place], count, rate ? base / micros : micros / base);
                }
            }
        }
        plot.draw();
    }
}
