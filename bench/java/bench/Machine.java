package bench;

import java.io.IOException;
import java.nio.file.FileStore;
import java.nio.file.Files;
import java.nio.file.Path;

/** In one line, what absolute figures depend on; no name of the machine. */
final class Machine {
    private Machine() {}

    static String describe(Path memory, Path disk) throws IOException {
        String kernel = System.getProperty("os.version").replaceAll("[^0-9.].*", "");
        return String.join("; ", processor(), storage(memory), storage(disk), "Linux " + kernel,
            "JDK " + System.getProperty("java.version"));
    }

    private static String processor() throws IOException {
        String name = Files.lines(Path.of("/proc/cpuinfo"))
                          .filter(line -> line.startsWith("model name"))
                          .map(line -> line.replaceAll(".*: *", "").replaceAll("\\((R|TM)\\)", ""))
                          .findFirst()
                          .orElse(System.getProperty("os.arch"));
        return Runtime.getRuntime().availableProcessors() + " processors " + name;
    }

    private static String storage(Path directory) throws IOException {
        FileStore store = Files.getFileStore(directory);
        return store.name().startsWith("/dev/") ? store.type() + " on " + store.name() : store.type();
    }
}
