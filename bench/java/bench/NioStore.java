package bench;

import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.channels.FileChannel;
import java.nio.charset.StandardCharsets;
import java.nio.file.FileAlreadyExistsException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.StandardCopyOption;
import java.nio.file.StandardOpenOption;
import java.util.Arrays;
import java.util.LinkedHashMap;
import java.util.LinkedHashSet;
import java.util.Map;
import java.util.Set;

/**
 * The same contract in plain Java: lock file, parse, change, temporary file, sync, atomic move, sync of the directory.
 *
 * <p>It does less: no plug-in says where a study lies, no log line is written, and nothing checks that the record reads
 * back as it was.
 */
final class NioStore implements Subject {
    private static final String[] KEYS = {"Version", "OwnerDevice", "ProcessMode", "StageState", "Folder",
        "SourceDevice", "ArchiveDevice", "Derived", "SourceStudy", "StudyOwner", "Retrieved", "DontEdit", "DontDelete",
        "StagedDevices", "ForwardDevices"};

    private final Place place;
    private final String[] studies;
    private final String suffix = "." + ProcessHandle.current().pid();

    NioStore(Place place, String[] studies) {
        this.place = place;
        this.studies = studies;
    }

    @Override
    public boolean call(int number) throws IOException, InterruptedException {
        return modify(studies[number % studies.length], Modify.options(number));
    }

    private boolean modify(String study, String[] options) throws IOException, InterruptedException {
        Path info = place.repository.resolve(study).resolve(".info");
        Path record = info.resolve("storestate.rec");
        if (!Files.exists(record)) {
            return false;
        }
        Path lock = place.locks.resolve("semaphore_storestate_" + study);
        take(lock);
        try {
            Map<String, Set<String>> fields = parse(Files.readString(record));
            for (int i = 0; i + 1 < options.length; i += 2) {
                if (options[i].equals("--stagestate")) {
                    fields.put("StageState", Set.of(options[i + 1]));
                }
            }
            replace(record, info, format(fields));
        } finally {
            Files.delete(lock);
        }
        return true;
    }

    private static void take(Path lock) throws IOException, InterruptedException {
        long deadline = System.nanoTime() + 20_000_000_000L;
        while (true) {
            try {
                FileChannel.open(lock, StandardOpenOption.WRITE, StandardOpenOption.CREATE_NEW).close();
                return;
            } catch (FileAlreadyExistsException held) {
                if (System.nanoTime() > deadline) {
                    throw held;
                }
                Thread.sleep(10);
            }
        }
    }

    /** Each key's names; a text is a single one. */
    private static Map<String, Set<String>> parse(String text) {
        Map<String, Set<String>> fields = new LinkedHashMap<>();
        text.lines().map(String::strip).filter(line -> !line.isEmpty() && line.charAt(0) != '#').forEach(line -> {
            int equals = line.indexOf("=\"");
            int end = line.indexOf('"', equals + 2);
            if (equals > 0 && end > equals) {
                String key = line.substring(0, equals);
                String value = line.substring(equals + 2, end);
                boolean list = key.endsWith("Devices");
                fields.computeIfAbsent(key, unknown -> new LinkedHashSet<>())
                    .addAll(list ? Arrays.asList(value.split(" ")) : Set.of(value));
            }
        });
        return fields;
    }

    private static String format(Map<String, Set<String>> fields) {
        StringBuilder text = new StringBuilder(512);
        for (String key : KEYS) {
            Set<String> names = fields.get(key);
            if (names != null) {
                text.append(key).append("=\"").append(String.join(" ", names)).append("\"\n");
            }
        }
        return text.toString();
    }

    private void replace(Path record, Path info, String text) throws IOException {
        Path temporary = info.resolve("storestate.rec" + suffix);
        try (FileChannel file = FileChannel.open(temporary, StandardOpenOption.WRITE, StandardOpenOption.CREATE,
                 StandardOpenOption.TRUNCATE_EXISTING)) {
            ByteBuffer bytes = ByteBuffer.wrap(text.getBytes(StandardCharsets.UTF_8));
            while (bytes.hasRemaining()) {
                file.write(bytes);
            }
            file.force(true);
        }
        Files.move(temporary, record, StandardCopyOption.ATOMIC_MOVE);
        try (FileChannel directory = FileChannel.open(info, StandardOpenOption.READ)) {
            directory.force(true);
        }
    }
}
