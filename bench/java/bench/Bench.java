package bench;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import quillon.util.StoreState;

/** The whole benchmark: see scripts/bench, which starts it. */
final class Bench {
    private static final int STUDIES = 16; // that take turns in a batch

    private final Path build;
    private final Path disk;
    private final boolean quick;
    private final String only;
    private final Report report = new Report();

    private Bench(Path build, Path disk, boolean quick, String only) {
        this.build = build;
        this.disk = disk;
        this.quick = quick;
        this.only = only;
    }

    /** Arguments: build directory, directory on a disk, JSON file, "full" or "quick", perhaps the only section. */
    public static void main(String[] arguments) throws Exception {
        Bench bench = new Bench(Path.of(arguments[0]), Path.of(arguments[1]), arguments[3].equals("quick"),
            arguments.length > 4 ? arguments[4] : null);
        bench.run();
        Files.writeString(Path.of(arguments[2]), bench.report.json());
        if (bench.only == null) {
            Summary summary = new Summary(bench.report, Machine.describe(tmpfs(), bench.disk));
            Files.writeString(bench.build.resolve("how-fast.md"), summary.table());
            Files.writeString(bench.build.resolve("how-fast.svg"), summary.picture());
        }
    }

    private void run() throws Exception {
        System.load(library("libstorestate_floor.so"));
        System.load(library("libstorestate.so"));
        Floor.setEnvironment("REPOSITORY_HANDLER_HOME", build.toString());
        warmUp();
        section("modify, tmpfs", title -> peers(title, tmpfs(), rounds(1000), 10));
        section("modify, disk", title -> peers(title, disk, rounds(250), 4));
        section("devices, tmpfs", title -> devices(title, tmpfs(), rounds(400), 10));
        section("studies, tmpfs", title -> studies(title, tmpfs(), 100000, rounds(400), 10));
        section("studies, disk", title -> studies(title, disk, 10000, rounds(100), 4));
        section("threads, tmpfs", title -> threads(title, tmpfs(), rounds(100), 240));
        section("threads, disk", title -> threads(title, disk, rounds(30), 48));
        section("other calls, tmpfs", title -> others(title, tmpfs(), rounds(400), 10));
        section("other calls, disk", title -> others(title, disk, rounds(60), 4));
        section("System.load", title -> loading(title, rounds(41)));
        if (only == null) {
            targets();
        } else if (only.equals("modify alone")) {
            section(only, title -> alone(title, disk, rounds(60), 4));
        }
    }

    private interface Section {
        void measure(String title) throws Exception;
    }

    private void section(String title, Section section) throws Exception {
        if (only == null || only.equals(title)) {
            section.measure(title);
        }
    }

    private String library(String name) {
        return build.resolve("lib").resolve(name).toString();
    }

    private String floorPlugin() {
        return build.resolve("lib/floor_plugin.so").toString();
    }

    private static Path tmpfs() {
        return Path.of("/dev/shm");
    }

    private int rounds(int full) {
        return quick ? Math.max(full / 20, 3) : full;
    }

    /** Lets the virtual machine compile what the peers and the calls need. */
    private void warmUp() throws Exception {
        try (Place place = new Place(tmpfs())) {
            place.enter();
            List<AutoCloseable> open = new ArrayList<>();
            subjects(place, open).run(rounds(400), 10);
            close(open);
        }
    }

    /** The floor, the library and what else one might take, on studies of their own. */
    private Rounds subjects(Place place, List<AutoCloseable> open) throws Exception {
        String record = Place.fullRecord();
        String[] forSqlite = place.studies(3 * STUDIES, STUDIES, record);
        SqliteStore perCall = new SqliteStore(place, "per-call.db", forSqlite, record, false);
        SqliteStore keptOpen = new SqliteStore(place, "kept-open.db", forSqlite, record, true);
        open.add(keptOpen);
        return new Rounds()
            .add("floor: the bare system calls", floor(place, 0))
            .add("modify", new Modify(place.studies(STUDIES, STUDIES, record)))
            .add("java.nio (no plug-in, log, check)", new NioStore(place, place.studies(2 * STUDIES, STUDIES, record)))
            .add("SQLite, connection per call (no plug-in, log, parsing)", perCall)
            .add("SQLite, connection kept open (the same)", keptOpen);
    }

    private Floor floor(Place place, int first) throws IOException {
        return new Floor(floorPlugin(), place, place.studies(first, STUDIES, Place.fullRecord()));
    }

    private static void close(List<AutoCloseable> open) throws Exception {
        for (AutoCloseable one : open) {
            one.close();
        }
    }

    private void peers(String title, Path where, int rounds, int batch) throws Exception {
        try (Place place = new Place(where)) {
            place.enter();
            List<AutoCloseable> open = new ArrayList<>();
            report.begin(title, "us/call", "/ floor");
            report.rows(subjects(place, open).run(rounds, batch));
            close(open);
        }
    }

    /** Not part of the whole table: for a file system of several hosts, on which SQLite may not work. */
    private void alone(String title, Path where, int rounds, int batch) throws Exception {
        try (Place place = new Place(where)) {
            place.enter();
            Modify modify = new Modify(place.studies(STUDIES, STUDIES, Place.fullRecord()));
            report.begin(title, "us/call", "/ floor");
            report.rows(new Rounds().add("floor", floor(place, 0)).add("modify", modify).run(rounds, batch));
        }
    }

    private void devices(String title, Path where, int rounds, int batch) throws Exception {
        try (Place place = new Place(where)) {
            place.enter();
            Rounds subjects = new Rounds().add("floor, 15 lines", floor(place, 0));
            for (int count = 1; count <= 1000; count *= 10) {
                String[] studies = place.studies(100 * count, STUDIES, Place.recordWithDevices(count));
                subjects.add("modify, devices: " + count, new Modify(studies));
            }
            String[] studies = place.studies(500000, STUDIES, Place.recordWithDevices(1000));
            subjects.add("java.nio, devices: 1000", new NioStore(place, studies));
            report.begin(title, "us/call", "/ floor");
            report.rows(subjects.run(rounds, batch));
        }
    }

    /** Repositories of different sizes side by side; in each one the calls go to studies far apart. */
    private void studies(String title, Path where, int largest, int rounds, int batch) throws Exception {
        List<AutoCloseable> open = new ArrayList<>();
        Rounds subjects = new Rounds();
        for (int count = 10; count <= (quick ? 1000 : largest); count *= 10) {
            Place place = new Place(where);
            open.add(place);
            String[] studies = new String[10];
            for (int i = 0; i < count; i++) {
                Files.createDirectory(place.repository.resolve(Place.study(i)));
            }
            for (int i = 0; i < studies.length; i++) {
                studies[i] = Place.study(i * (count / studies.length));
                place.write(studies[i], Place.fullRecord());
            }
            subjects.add("modify, studies: " + count, place::enter, new Modify(studies), 1);
        }
        report.begin(title, "us/call", "/ 10 studies");
        report.rows(subjects.run(rounds, batch));
        close(open);
    }

    private void threads(String title, Path where, int rounds, int batch) throws Exception {
        report.begin(title, "us/call", "/ floor");
        for (int threads = 1; threads <= 8; threads *= 2) {
            try (Place place = new Place(where)) {
                Modify modify = new Modify(place.studies(STUDIES, STUDIES, Place.fullRecord()));
                Rounds subjects = new Rounds()
                                      .add("floor, threads: " + threads, place::enter, floor(place, 0), threads)
                                      .add("modify, threads: " + threads, place::enter, modify, threads);
                report.rows(subjects.run(rounds, batch));
            }
        }
    }

    private void others(String title, Path where, int rounds, int batch) throws Exception {
        try (Place place = new Place(where)) {
            place.enter();
            String[] studies = place.studies(STUDIES, STUDIES, Place.fullRecord());
            String[] none = {};
            Rounds subjects =
                new Rounds()
                    .add("floor of a modify", floor(place, 0))
                    .add("lock and unlock", number -> lockAndUnlock(studies[number % STUDIES]))
                    .add("convert of a current record", number -> StoreState.convert(studies[number % STUDIES], false))
                    .add("first save, with the database",
                        number
                        -> StoreState.modify(Place.study(100000 + number), StoreState.MUST_NOT_EXIST, none, false));
            report.begin(title, "us/call", "/ floor");
            report.rows(subjects.run(rounds, batch));
        }
    }

    private static boolean lockAndUnlock(String study) {
        return StoreState.lock(study) && StoreState.unlock(study);
    }

    /** In a virtual machine of its own each time, in turn. */
    private void loading(String title, int rounds) throws Exception {
        String[] names = {"the dependencies alone", "the library", "difference"};
        String[] libraries = {"libstorestate_dependencies.so", "libstorestate.so"};
        double[][] millis = new double[3][rounds];
        double[][] kilobytes = new double[3][rounds];
        for (int round = 0; round < rounds; round++) {
            for (int i = 0; i < 2; i++) {
                String[] figures = probe(library(libraries[i]));
                millis[i][round] = Long.parseLong(figures[0]) / 1e6;
                kilobytes[i][round] = Long.parseLong(figures[1]);
            }
            millis[2][round] = millis[1][round] - millis[0][round];
            kilobytes[2][round] = kilobytes[1][round] - kilobytes[0][round];
        }
        report.begin(title, "ms", "resident KiB");
        for (int i = 0; i < names.length; i++) {
            report.row(names[i], "millis", Rounds.median(millis[i]), "KiB", Rounds.median(kilobytes[i]));
        }
    }

    private String[] probe(String library) throws Exception {
        String java = Path.of(System.getProperty("java.home"), "bin", "java").toString();
        ProcessBuilder builder = new ProcessBuilder(java, "-cp", System.getProperty("java.class.path"),
            LoadProbe.class.getName(), library("libstorestate_warmup.so"), library);
        Process process = builder.redirectError(ProcessBuilder.Redirect.INHERIT).start();
        String output = new String(process.getInputStream().readAllBytes()).strip();
        if (process.waitFor() != 0) {
            throw new IllegalStateException("loading " + library + " failed");
        }
        return output.split(" ");
    }

    private void targets() {
        report.target("modify / floor, tmpfs", report.figure("modify, tmpfs", "modify", "ratio"), 1.25);
        report.target("modify / floor, disk", report.figure("modify, disk", "modify", "ratio"), 1.08);
        report.target("modify / floor, 1000 devices, tmpfs",
            report.figure("devices, tmpfs", "modify, devices: 1000", "ratio"), 4);
        double sqlite = report.figure("modify, disk", "SQLite, connection kept open (the same)", "micros");
        report.target("modify / SQLite kept open, disk", report.figure("modify, disk", "modify", "micros") / sqlite, 1);
        report.target(
            "System.load above its dependencies, ms", report.figure("System.load", "difference", "millis"), 0.2);
        report.printTargets();
    }
}
