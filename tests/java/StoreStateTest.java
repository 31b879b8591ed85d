import static org.junit.jupiter.api.Assertions.*;

import java.nio.file.*;
import java.util.*;
import java.util.concurrent.*;
import org.junit.jupiter.api.*;
import quillon.util.StoreState;

/** In a real virtual machine, with the database and the folders of the environment. Tests run side by side. */
class StoreStateTest {
    private static final ExecutorService THREADS = Executors.newCachedThreadPool();

    static { System.load(System.getProperty("library")); }

    static Path in(String variable, String... names) { return Path.of(System.getenv(variable), names); }

    static Path record(String id) { return in("REPOSITORY_DICOM_DATA", id, ".info/storestate.rec"); }

    static String read(String study) throws Exception { return Files.readString(record(study)); }

    static boolean locked(String id) { return Files.exists(in("LOCK_VAR", "semaphore_storestate_" + id)); }

    static boolean modify(String id, int mode, String... pairs) { return StoreState.modify(id, mode, pairs, false); }

    /** Calls on a locked study, all at once: each waits its seconds and answers false. */
    @Test
    @Tag("waits")
    void lockIsWaitedForButNotForEver() throws Exception {
        assertTrue(StoreState.lock("busy"));
        long from = System.nanoTime();
        Map<String, Future<Boolean>> answers = new TreeMap<>();
        answers.put("20 s: convert", THREADS.submit(() -> StoreState.convert("busy", false)));
        answers.put("20 s: modify", THREADS.submit(() -> modify("busy", StoreState.MAY_EXIST)));
        answers.put("30 s: lock", THREADS.submit(() -> StoreState.lock("busy")));
        for (String name : answers.keySet()) {
            assertFalse(answers.get(name).get(), name);
            long late = TimeUnit.NANOSECONDS.toSeconds(System.nanoTime() - from) - Long.parseLong(name.substring(0, 2));
            assertTrue(late >= 0 && late < 6, name + ", " + late + " s late");
        }
        assertFalse(Files.exists(record("busy")));
        assertTrue(locked("busy"));
    }

    @Test
    void callerHoldsTheLockUntilAnybodyGivesItBack() throws Exception {
        assertTrue(StoreState.unlock("held"), "nobody held it");
        assertTrue(StoreState.lock("held"));
        assertTrue(StoreState.convert("held", true));
        assertTrue(StoreState.modify("held", StoreState.MUST_EXIST, new String[] {"--folder", "F"}, true));
        assertTrue(read("held").contains("\nFolder=\"F\"\n"));
        Future<Boolean> waiter = THREADS.submit(() -> StoreState.lock("held"));
        assertThrows(TimeoutException.class, () -> waiter.get(1500, TimeUnit.MILLISECONDS));
        assertTrue(StoreState.unlock("held"));
        assertTrue(waiter.get());
        assertTrue(locked("held"));
    }

    @Test
    void recordIsMadeAndChangedUnderItsCondition() throws Exception {
        assertFalse(modify("study", StoreState.MUST_EXIST));
        assertTrue(modify("study", StoreState.MUST_NOT_EXIST));
        String made = "Version=\"1\"\nOwnerDevice=\"PACS1\"\nStagedDevices=\"PACS2\"\nForwardDevices=\"WS1\"\n";
        assertEquals(made, read("study"));
        assertFalse(modify("study", StoreState.MUST_NOT_EXIST, "--folder", "F"));
        assertTrue(modify("study", StoreState.MAY_EXIST, "-d", "\u00e4\u20ac 100%s", "--removedevice", "PACS2"));
        String changed = made.replace("StagedDevices=\"PACS2\"", "Derived=\"\u00e4\u20ac 100%s\"");
        assertEquals(changed, read("study"));
        Object before = Files.getAttribute(record("study"), "unix:ino");
        assertTrue(modify("study", StoreState.MUST_EXIST, (String[]) null));
        assertEquals(before, Files.getAttribute(record("study"), "unix:ino"), "not rewritten");
        for (String[] refused : new String[][] {{"-w"}, {"-w", "A", "-c"}, {"-w", null}, {null, "A"}, {"-w", "A B"}}) {
            assertFalse(modify("study", StoreState.MUST_EXIST, refused), () -> Arrays.toString(refused));
            assertEquals(changed, read("study"), () -> Arrays.toString(refused));
            assertFalse(locked("study"), () -> Arrays.toString(refused));
        }
    }

    @Test
    void studiesThatCannotBeAreRefused() {
        assertFalse(modify(null, StoreState.MAY_EXIST));
        assertFalse(StoreState.convert(null, true));
        assertFalse(StoreState.lock(null));
        assertFalse(StoreState.unlock(null));
        assertFalse(StoreState.lock("no/directory"));
    }
}
