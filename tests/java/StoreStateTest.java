import static org.junit.jupiter.api.Assertions.*;

import java.nio.file.*;
import java.util.*;
import java.util.concurrent.*;
import org.junit.jupiter.api.Test;
import quillon.util.StoreState;

/** In a real virtual machine, with the database and the folders of the environment. Tests run side by side. */
class StoreStateTest {
    private static final ExecutorService THREADS = Executors.newCachedThreadPool();

    static { System.load(System.getProperty("library")); }

    private static Path record(String study) {
        return Paths.get(System.getenv("REPOSITORY_DICOM_DATA"), study, ".info/storestate.rec");
    }

    private static String read(String study) throws Exception { return Files.readString(record(study)); }

    private static boolean locked(String study) {
        return Files.exists(Paths.get(System.getenv("LOCK_VAR"), "semaphore_storestate_" + study));
    }

    private static boolean modify(String study, int mode, String... options) {
        return StoreState.modify(study, mode, options, false);
    }

    private static long secondsSince(long start) { return TimeUnit.NANOSECONDS.toSeconds(System.nanoTime() - start); }

    @Test
    void lockIsWaitedForButNotForEver() throws Exception {
        assertTrue(StoreState.lock("busy"));
        long start = System.nanoTime();
        Future<Boolean> taken = THREADS.submit(() -> StoreState.lock("busy"));
        assertFalse(StoreState.convert("busy", false));
        long first = secondsSince(start);
        assertFalse(taken.get());
        long second = secondsSince(start);
        assertTrue(first >= 20 && first < 26 && second >= 30 && second < 36, first + " s, " + second + " s");
        assertTrue(locked("busy") && !Files.exists(record("busy")));
        Future<Boolean> waiter = THREADS.submit(() -> StoreState.lock("busy"));
        Thread.sleep(1500);
        assertTrue(!waiter.isDone() && StoreState.unlock("busy") && waiter.get() && locked("busy"));
    }

    @Test
    void callerHoldsTheLockUntilAnybodyGivesItBack() throws Exception {
        assertTrue(StoreState.unlock("held") && StoreState.lock("held") && locked("held"));
        Files.createDirectories(record("held").getParent());
        Path list = Files.writeString(record("held").resolveSibling("fwds"), "A\nB\n");
        Files.writeString(record("held"), "");
        assertTrue(StoreState.convert("held", true) && !Files.exists(list));
        assertTrue(StoreState.modify("held", StoreState.MUST_EXIST, new String[] {"--folder", "F"}, true));
        assertTrue(read("held").contains("\nFolder=\"F\"\n") && read("held").endsWith("ForwardDevices=\"WS1 A B\"\n"));
        assertTrue(locked("held") && StoreState.unlock("held"));
        assertFalse(locked("held") || StoreState.lock("no/directory"));
        Files.createDirectory(Paths.get(System.getenv("LOCK_VAR"), "semaphore_storestate_held"));
        assertFalse(StoreState.unlock("held"));
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
        for (String[] refused : new String[][] {{"-w"}, {"-w", "A", "-c"}, {"-w", null}, {null, "A"}, {"-w", "A B"},
                 {"-w", ""}, {"-w", "A", "-p", "two words"}, {"-d", "A\"\nForwardDevices=\"B"}, {"-b", "A .F"}}) {
            assertFalse(modify("study", StoreState.MUST_EXIST, refused), () -> Arrays.toString(refused));
            assertEquals(changed, read("study"));
            assertFalse(locked("study"));
        }
        assertFalse(modify(null, 2) || modify("../study", 2) || StoreState.convert("..", false) || locked(".."));
        assertFalse(StoreState.lock(null) || StoreState.unlock(null) || StoreState.convert(null, true));
    }
}
