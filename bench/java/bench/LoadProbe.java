package bench;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;

/** Prints how many nanoseconds System.load of the second library takes; the first one is loaded to warm up. */
final class LoadProbe {
    private LoadProbe() {}

    public static void main(String[] libraries) throws IOException {
        System.load(libraries[0]);
        long before = resident();
        long start = System.nanoTime();
        System.load(libraries[1]);
        long nanos = System.nanoTime() - start;
        System.out.println(nanos + " " + (resident() - before));
    }

    /** Kilobytes. */
    private static long resident() throws IOException {
        return Files.readAllLines(Path.of("/proc/self/status"))
            .stream()
            .filter(line -> line.startsWith("VmRSS:"))
            .mapToLong(line -> Long.parseLong(line.replaceAll("\\D", "")))
            .findFirst()
            .orElseThrow();
    }
}
