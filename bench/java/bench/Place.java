package bench;

import java.io.IOException;
import java.nio.file.FileVisitResult;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.nio.file.SimpleFileVisitor;
import java.nio.file.attribute.BasicFileAttributes;
import java.util.Collections;

/** A repository and a lock directory of their own, on the file system to be measured; gone when closed. */
final class Place implements AutoCloseable {
    final Path root;
    final Path repository;
    final Path locks;

    Place(Path parent) throws IOException {
        root = Files.createTempDirectory(parent, "storestate-bench.");
        repository = Files.createDirectory(root.resolve("repository"));
        locks = Files.createDirectory(root.resolve("locks"));
    }

    /** From now on the library works here. */
    void enter() {
        Floor.setEnvironment("REPOSITORY_DICOM_DATA", repository.toString());
        Floor.setEnvironment("LOCK_VAR", locks.toString());
    }

    static String study(int number) {
        return "2.25.1318745930" + String.format("%06d", number);
    }

    /** Makes studies with a record. */
    String[] studies(int first, int count, String record) throws IOException {
        String[] names = new String[count];
        for (int i = 0; i < count; i++) {
            names[i] = study(first + i);
            write(names[i], record);
        }
        return names;
    }

    void write(String study, String record) throws IOException {
        Path info = Files.createDirectories(repository.resolve(study).resolve(".info"));
        Files.writeString(info.resolve("storestate.rec"), record);
    }

    /** A record with all lines; the checkout is the working directory. */
    static String fullRecord() throws IOException {
        return Files.readString(Paths.get("bench/full.rec"));
    }

    /** A record with one long list of devices, in lines that the reader takes. */
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
        Files.walkFileTree(root, Collections.emptySet(), Integer.MAX_VALUE, new SimpleFileVisitor<Path>() {
            @Override
            public FileVisitResult visitFile(Path file, BasicFileAttributes attributes) throws IOException {
                Files.delete(file);
                return FileVisitResult.CONTINUE;
            }

            @Override
            public FileVisitResult postVisitDirectory(Path directory, IOException failure) throws IOException {
                Files.delete(directory);
                return FileVisitResult.CONTINUE;
            }
        });
    }
}
