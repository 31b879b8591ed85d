import static org.junit.jupiter.api.Assertions.*;

import java.nio.file.*;
import java.util.*;
import java.util.concurrent.*;
import java.util.function.Predicate;
import org.junit.jupiter.api.*;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import quillon.util.StoreState;

/** In a real virtual machine, with the database and the folders of the environment. Tests run in parallel. */
class StoreStateTest {
    static {
        System.load(System.getProperty("library"));
    }

    private static Path record(String study) {
        return Path.of(System.getenv("REPOSITORY_DICOM_DATA"), study, ".info/storestate.rec");
    }

    private static String read(String study) throws Exception {
        return Files.readString(record(study));
    }

    private static boolean isLocked(String study) {
        return Files.exists(Path.of(System.getenv("LOCK_VAR"), "semaphore_storestate_" + study));
    }

    private static boolean modify(String study, int mode, String... options) {
        return StoreState.modify(study, mode, options, false);
    }

    @ParameterizedTest
    @CsvSource({"convert, 20", "modify, 20", "lock, 30"})
    @Tag("waits")
    void waitsForTheLockAndFails(String call, int seconds) {
        Map<String, Predicate<String>> calls = Map.of(
            "convert", study -> StoreState.convert(study, false),
            "modify", study -> modify(study, StoreState.MAY_EXIST),
            "lock", StoreState::lock);
        assertTrue(StoreState.lock(call));
        long start = System.nanoTime();
        assertFalse(calls.get(call).test(call));
        long late = TimeUnit.NANOSECONDS.toSeconds(System.nanoTime() - start) - seconds;
        assertTrue(late >= 0 && late < 6, late + " s late");
        assertFalse(Files.exists(record(call)));
        assertTrue(isLocked(call));
    }

    @Test
    void callerHoldsTheLockUntilAnyCallReleasesIt() throws Exception {
        assertTrue(StoreState.unlock("held"), "not locked");
        assertTrue(StoreState.lock("held"));
        assertTrue(StoreState.convert("held", true));
        assertTrue(StoreState.modify("held", StoreState.MUST_EXIST, new String[] {"--folder", "F"}, true));
        assertTrue(read("held").contains("\nFolder=\"F\"\n"), read("held"));
        assertTrue(isLocked("held"));
        assertTrue(StoreState.unlock("held"));
        assertFalse(isLocked("held"));
    }

    @Test
    void recordIsMadeAndChangedUnderItsCondition() throws Exception {
        assertFalse(modify("study", StoreState.MUST_EXIST));
        assertTrue(modify("study", StoreState.MUST_NOT_EXIST));
        String made = "Version=\"1\"\nOwnerDevice=\"PACS1\"\nStagedDevices=\"PACS2\"\nForwardDevices=\"WS1\"\n";
        assertEquals(made, read("study"));
        Object file = Files.getAttribute(record("study"), "unix:ino");
        assertFalse(modify("study", StoreState.MUST_NOT_EXIST, "--folder", "F"));
        assertTrue(modify("study", StoreState.MUST_EXIST, (String[]) null));
        String[][] refused = {{"-w"}, {"-w", "A", "-c"}, {"-w", null}, {null, "A"}, {"-w", "A B"}};
        for (String[] options : refused) {
            assertFalse(modify("study", StoreState.MUST_EXIST, options), Arrays.toString(options));
            assertFalse(isLocked("study"), Arrays.toString(options));
        }
        assertEquals(file, Files.getAttribute(record("study"), "unix:ino"), "not rewritten");
        assertTrue(modify("study", StoreState.MAY_EXIST, "-d", "\u00e4\u20ac 100%s", "--removedevice", "PACS2"));
        assertEquals(made.replace("StagedDevices=\"PACS2\"", "Derived=\"\u00e4\u20ac 100%s\""), read("study"));
    }
}
