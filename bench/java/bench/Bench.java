package bench;

import java.io.IOException;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.Locale;

/** Measures what README's table shows and prints it; scripts/bench starts it. */
final class Bench {
    private static final Path MEMORY = Path.of("/dev/shm");
    private static final int STUDIES = 16; // used in turn
    private static final int MANY = 10_000;

    private final Path build;
    private final int shortened; // how many times fewer rounds

    private Bench(Path build, int shortened) {
        this.build = build;
        this.shortened = shortened;
    }

    /**
     * Arguments: build directory; directory on a disk; "full", "quick" for a trial run, or "alone" for the bare system
     * calls and modify in that directory only, which also works on a file system that SQLite cannot use.
     */
    public static void main(String[] arguments) throws Exception {
        Path build = Path.of(arguments[0]).toAbsolutePath();
        Path disk = Path.of(arguments[1]);
        System.load(build.resolve("lib/libstorestate_floor.so").toString());
        System.load(build.resolve("lib/libstorestate.so").toString());
        Floor.setEnvironment("REPOSITORY_HANDLER_HOME", build.toString());
        Bench bench = new Bench(build, arguments[2].equals("quick") ? 20 : 1);
        if (arguments[2].equals("alone")) {
            bench.alone(disk);
        } else {
            bench.table(disk);
        }
    }

    private void alone(Path where) throws Exception {
        threads(MEMORY, 1, 400, 10); // lets the virtual machine compile
        for (Rounds.Result result : threads(where, 1, 400, 4)) {
            System.out.printf(Locale.ROOT, "%s: %.1f µs %.2f%n", result.name(), result.micros(), result.ratio());
        }
    }

    private void table(Path disk) throws Exception {
        calls(MEMORY, 400, 10); // lets the virtual machine compile
        List<Rounds.Result> inMemory = all(MEMORY, 1000, 10);
        List<Rounds.Result> onDisk = all(disk, 250, 4);
        System.out.println("| one call | in memory | × | on a disk | × |\n| --- | --: | --: | --: | --: |");
        for (int i = 0; i < inMemory.size(); i++) {
            Rounds.Result memory = inMemory.get(i);
            System.out.printf(Locale.ROOT, "| %s | %.0f µs | %.2f | %.0f µs | %.2f |%n", memory.name(), memory.micros(),
                memory.ratio(), onDisk.get(i).micros(), onDisk.get(i).ratio());
        }
    }

    private List<Rounds.Result> all(Path where, int rounds, int batch) throws Exception {
        List<Rounds.Result> results = new ArrayList<>(calls(where, rounds, batch));
        results.add(threads(where, 2, rounds / 10, 24 * batch).get(1));
        results.add(threads(where, 8, rounds / 10, 24 * batch).get(1));
        return results;
    }

    private List<Rounds.Result> calls(Path where, int rounds, int batch) throws Exception {
        String record = Place.fullRecord();
        try (Place place = new Place(where); Place large = new Place(where)) {
            String[] forSqlite = place.studies(3 * STUDIES, STUDIES, 1, record);
            String[] farApart = large.studies(0, STUDIES, MANY / STUDIES, record);
            large.addDirectories(MANY);
            try (SqliteStore keptOpen = new SqliteStore(place, "kept-open.db", forSqlite, record, true);
                 SqliteStore perCall = new SqliteStore(place, "per-call.db", forSqlite, record, false)) {
                return new Rounds()
                    .add("bare system calls", place, floor(place), 1)
                    .add("modify", place, new Modify(place.studies(STUDIES, STUDIES, 1, record)), 1)
                    .add("plain Java", place, new PlainJava(place, place.studies(2 * STUDIES, STUDIES, 1, record)), 1)
                    .add("SQLite, one connection", place, keptOpen, 1)
                    .add("SQLite, connection per call", place, perCall, 1)
                    .add("modify of a record with 1000 devices", place,
                        new Modify(place.studies(4 * STUDIES, STUDIES, 1, Place.recordWithDevices(1000))), 1)
                    .add("modify among 10,000 studies", large, new Modify(farApart), 1)
                    .run(Math.max(rounds / shortened, 3), batch);
            }
        }
    }

    /** The bare system calls and modify by several threads at once. */
    private List<Rounds.Result> threads(Path where, int threads, int rounds, int batch) throws Exception {
        String name = threads == 1 ? "modify" : "modify by " + threads + " threads";
        try (Place place = new Place(where)) {
            Modify modify = new Modify(place.studies(STUDIES, STUDIES, 1, Place.fullRecord()));
            return new Rounds()
                .add("bare system calls", place, floor(place), threads)
                .add(name, place, modify, threads)
                .run(Math.max(rounds / shortened, 3), batch);
        }
    }

    private Floor floor(Place place) throws IOException {
        String plugin = build.resolve("lib/floor_plugin.so").toString();
        return new Floor(plugin, place, place.studies(0, STUDIES, 1, Place.fullRecord()));
    }
}
