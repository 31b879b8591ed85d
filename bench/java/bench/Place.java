package bench;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Collections;
import java.util.List;
import java.util.stream.Collectors;
import java.util.stream.Stream;

/** A private repository and lock directory on the file system to be measured; {@link #close} deletes both. */
final class Place implements AutoCloseable {
    final Path root;
    final Path repository;
    final Path locks;

    Place(Path parent) throws IOException {
        root = Files.createTempDirectory(parent, "storestate-bench.");
        repository = Files.createDirectory(root.resolve("repository"));
        locks = Files.createDirectory(root.resolve("locks"));
    }

    /** From now on the library uses these directories. */
    void enter() {
        Floor.setEnvironment("REPOSITORY_DICOM_DATA", repository.toString());
        Floor.setEnvironment("LOCK_VAR", locks.toString());
    }

    private static String study(int number) {
        return "2.25.1318745930" + String.format("%06d", number);
    }

    /** Makes studies with a record; their numbers are {@code step} apart. */
    String[] studies(int first, int count, int step, String record) throws IOException {
        String[] names = new String[count];
        for (int i = 0; i < count; i++) {
            names[i] = study(first + i * step);
            Path info = Files.createDirectories(repository.resolve(names[i]).resolve(".info"));
            Files.writeString(info.resolve("storestate.rec"), record);
        }
        return names;
    }

    /** Makes the directories of so many studies. */
    void addDirectories(int count) throws IOException {
        for (int i = 0; i < count; i++) {
            Files.createDirectories(repository.resolve(study(i)));
        }
    }

    /** A record with all lines. The working directory must be the checkout. */
    static String fullRecord() throws IOException {
        return Files.readString(Path.of("bench/full.rec"));
    }

    /** A record with one long list of devices, in lines that are not too long for the reader. */
    static String recordWithDevices(int count) {
        StringBuilder record = new StringBuilder("Version=\"1\"\nStageState=\"online\"\n");
        for (int i = 0; i < count; i++) {
            record.append(i % 20 == 0 ? "ForwardDevices=\"" : " ").append(String.format("DEVICE%04d", i));
            record.append(i % 20 == 19 || i == count - 1 ? "\"\n" : "");
        }
        return record.toString();
    }

    @Override
    public void close() throws IOException {
        List<Path> files;
        try (Stream<Path> found = Files.walk(root)) {
            files = found.collect(Collectors.toCollection(ArrayList::new));
        }
        Collections.reverse(files);
        for (Path file : files) {
            Files.delete(file);
        }
    }
}
