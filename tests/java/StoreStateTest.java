import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;
import java.util.TreeSet;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.TimeUnit;
import org.junit.jupiter.api.Test;
import quillon.util.StoreState;

/** In a real virtual machine, with the database and the folders of the environment. Tests run side by side. */
class StoreStateTest {
    private static final String AUTO_FORWARDED =
            "Version=\"1\"\nOwnerDevice=\"PACS1\"\nStagedDevices=\"PACS2\"\nForwardDevices=\"WS1\"\n";

    static {
        System.load(System.getProperty("library"));
    }

    private static Path record(String study) {
        return Paths.get(System.getenv("REPOSITORY_DICOM_DATA"), study, ".info/storestate.rec");
    }

    private static String read(String study) throws IOException {
        return new String(Files.readAllBytes(record(study)), StandardCharsets.UTF_8);
    }

    private static void write(String study, String text) throws IOException {
        Files.createDirectories(record(study).getParent());
        Files.write(record(study), text.getBytes(StandardCharsets.UTF_8));
    }

    private static boolean locked(String study) {
        return Files.exists(Paths.get(System.getenv("LOCK_VAR"), "semaphore_storestate_" + study));
    }

    private static boolean modify(String study, int mode, String... options) {
        return StoreState.modify(study, mode, options, false);
    }

    /** One call per argument in a virtual machine of its own, with `variable` set, or unset by null; its answers. */
    private static String inOtherProcess(String variable, String value, String... calls) throws Exception {
        List<String> command = new ArrayList<>(Arrays.asList(System.getProperty("java.home") + "/bin/java", "-Xcheck:jni",
                "-Dlibrary=" + System.getProperty("library"), "-cp", System.getProperty("java.class.path"),
                "StoreStateTest"));
        Collections.addAll(command, calls);
        ProcessBuilder builder = new ProcessBuilder(command).redirectErrorStream(true);
        builder.environment().put(variable, value == null ? "" : value);
        if (value == null) {
            builder.environment().remove(variable);
        }
        Process process = builder.start();
        process.getOutputStream().close();
        byte[] output = process.getInputStream().readAllBytes();
        assertEquals(0, process.waitFor());
        Files.deleteIfExists(Paths.get("/tmp/error_ps." + process.pid() + ".txt"));
        return new String(output, StandardCharsets.UTF_8).trim();
    }

    public static void main(String[] calls) {
        StringBuilder answers = new StringBuilder();
        for (String call : calls) {
            String[] words = call.split(" ");
            boolean answer = words[0].equals("lock") ? StoreState.lock(words[1])
                    : words[0].equals("unlock") ? StoreState.unlock(words[1])
                    : words[0].equals("convert") ? StoreState.convert(words[1], false)
                    : modify(words[1], 2, Arrays.copyOfRange(words, 2, words.length));
            answers.append(answer).append(' ');
        }
        System.out.println(answers);
    }

    @Test
    void callerHoldsTheLockOverSeveralCalls() throws Exception {
        assertTrue(StoreState.unlock("held"));
        assertTrue(StoreState.lock("held") && locked("held"));
        assertTrue(StoreState.convert("held", true));
        assertTrue(StoreState.modify("held", StoreState.MUST_EXIST, new String[] {"--folder", "F"}, true));
        assertTrue(locked("held"));
        assertEquals("true", inOtherProcess("LANG", "de_DE.ISO-8859-1", "unlock held"));
        assertFalse(locked("held"));
        assertTrue(read("held").contains("\nFolder=\"F\"\n"));
    }

    @Test
    void lockIsWaitedFor() throws Exception {
        assertTrue(StoreState.lock("released"));
        Thread holder = new Thread(() -> {
            try {
                Thread.sleep(1500);
            } catch (InterruptedException e) {
                Thread.currentThread().interrupt();
            }
            StoreState.unlock("released");
        });
        holder.start();
        assertEquals("true true", inOtherProcess("LANG", "C", "lock released", "unlock released"));
        holder.join();
    }

    @Test
    void lockIsGivenUpAfterThirtySeconds() {
        assertTrue(StoreState.lock("late"));
        long start = System.nanoTime();
        assertFalse(StoreState.lock("late"));
        long waited = System.nanoTime() - start;
        assertTrue(locked("late"));
        assertTrue(waited >= TimeUnit.SECONDS.toNanos(30) && waited < TimeUnit.SECONDS.toNanos(36), waited + " ns");
    }

    @Test
    void recordIsGivenUpAfterTwentySeconds() throws Exception {
        assertTrue(StoreState.lock("busy"));
        long start = System.nanoTime();
        assertFalse(StoreState.convert("busy", false));
        long waited = System.nanoTime() - start;
        assertTrue(waited >= TimeUnit.SECONDS.toNanos(20) && waited < TimeUnit.SECONDS.toNanos(26), waited + " ns");
        assertTrue(locked("busy"));
        assertFalse(Files.exists(record("busy")));
    }

    @Test
    void recordIsMadeAndChangedUnderItsCondition() throws Exception {
        assertFalse(modify("study", StoreState.MUST_EXIST));
        assertTrue(modify("study", StoreState.MUST_NOT_EXIST));
        assertEquals(AUTO_FORWARDED, read("study"));
        assertFalse(modify("study", StoreState.MUST_NOT_EXIST, "--folder", "F"));
        assertTrue(modify("study", StoreState.MAY_EXIST, "-d", "\u00e4\u20ac 100%s", "--removedevice", "PACS2", "-Z", "x"));
        String changed = AUTO_FORWARDED.replace("StagedDevices=\"PACS2\"", "Derived=\"\u00e4\u20ac 100%s\"");
        assertEquals(changed, read("study"));
        Object before = Files.readAttributes(record("study"), "unix:ino").get("ino");
        assertTrue(modify("study", StoreState.MUST_EXIST, (String[]) null));
        assertEquals(before, Files.readAttributes(record("study"), "unix:ino").get("ino"), "not rewritten");
        for (String[] refused : new String[][] {{"-w"}, {"-w", "A", "-c"}, {"-w", null}, {null, "A"}, {"-w", "A B"},
                {"-w", ""}, {"-w", "A", "-p", "two words"}, {"-d", "A\"\nForwardDevices=\"B"}, {"-b", "A .F"}}) {
            assertFalse(modify("study", StoreState.MUST_EXIST, refused), () -> Arrays.toString(refused));
            assertEquals(changed, read("study"));
            assertFalse(locked("study"));
        }
        assertFalse(modify(null, 2) || StoreState.lock(null) || StoreState.unlock(null) || StoreState.convert(null, true));
        assertFalse(modify("../study", 2) || StoreState.convert("..", false) || locked(".."));
    }

    @Test
    void severalHundredDevicesAreKept() throws Exception {
        List<String> options = new ArrayList<>();
        for (int i = 0; i < 700; i++) {
            Collections.addAll(options, "-w", "Workstation-" + i);
        }
        Collections.addAll(options, "-b", "P.C");
        assertTrue(modify("many", StoreState.MUST_NOT_EXIST, options.toArray(new String[0])));
        String made = read("many");
        assertTrue(modify("many", StoreState.MUST_EXIST));
        assertEquals(made, read("many"));
        String names = made.replaceAll("(?m)^ForwardDevices=\"(.*)\"$", "$1").replace('\n', ' ');
        for (int i = 0; i < 700; i++) {
            assertTrue(names.contains(" Workstation-" + i + " "), "Workstation-" + i);
        }
    }

    @Test
    void oldRecordIsConvertedOnceItCanBe() throws Exception {
        write("old", "");
        Path list = record("old").resolveSibling("fwds");
        Files.write(list, "A\nB\n".getBytes(StandardCharsets.UTF_8));
        assertEquals("false", inOtherProcess("MYSQL_UNIX_PORT", "/nowhere", "convert old"));
        assertEquals("false false", inOtherProcess("TARGETTBL", null, "convert old", "modify new"));
        assertTrue(modify("old", StoreState.MUST_EXIST, (String[]) null));
        assertTrue(Files.exists(list) && read("old").isEmpty() && !Files.exists(record("new")) && !locked("old"));
        assertTrue(StoreState.convert("old", false));
        assertFalse(Files.exists(list));
        assertTrue(read("old").endsWith("ForwardDevices=\"WS1 A B\"\n"));
    }

    @Test
    void failuresAreFalse() throws Exception {
        assertEquals("true false true", inOtherProcess("REPOSITORY_DICOM_DATA", null, "lock e", "convert f", "unlock e"));
        assertEquals("false", inOtherProcess("LOCK_VAR", "/nowhere", "lock g"));
        assertEquals("false false", inOtherProcess("REPOSITORY_HANDLER_HOME", null, "convert h", "modify h -w A"));
        String failing = System.getProperty("plugins") + "/failing";
        assertEquals("false false", inOtherProcess("REPOSITORY_HANDLER_HOME", failing, "convert ours", "convert int"));
        for (String study : new String[] {"e", "f", "h", "ours", "int"}) {
            assertFalse(locked(study), study);
        }
    }

    @Test
    void threadsLoseNoChange() throws Exception {
        write("shared", "Version=\"1\"\n");
        ExecutorService threads = Executors.newFixedThreadPool(16);
        TreeSet<String> expected = new TreeSet<>();
        for (int i = 0; i < 16; i++) {
            String device = "D" + i;
            expected.add(device);
            threads.execute(() -> assertTrue(modify("shared", StoreState.MUST_EXIST, "-w", device)));
        }
        threads.shutdown();
        assertTrue(threads.awaitTermination(60, TimeUnit.SECONDS));
        String[] names = read("shared").split("\"")[3].split(" ");
        assertEquals(expected, new TreeSet<>(Arrays.asList(names)));
    }
}
