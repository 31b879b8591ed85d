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
import java.util.LinkedHashMap;
import java.util.Map;

/**
 * The same contract in plain Java: lock file, parse, change, temporary file, sync, atomic move, sync of the directory.
 *
 * <p>It does less: there is no plug-in and no log line, device lists are not parsed, and nothing checks that the record
 * will be read as it was written.
 */
final class PlainJava implements Subject {
    private final Place place;
    private final String[] studies;
    private final String suffix = "." + ProcessHandle.current().pid();

    PlainJava(Place place, String[] studies) {
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
            Map<String, String> fields = parse(Files.readString(record));
            fields.put("StageState", options[1]);
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

    private static Map<String, String> parse(String text) {
        Map<String, String> fields = new LinkedHashMap<>();
        text.lines().map(String::strip).forEach(line -> {
            int equals = line.indexOf("=\"");
            int end = line.indexOf('"', equals + 2);
            if (equals > 0 && end > equals && line.charAt(0) != '#') {
                fields.put(line.substring(0, equals), line.substring(equals + 2, end));
            }
        });
        return fields;
    }

    private static String format(Map<String, String> fields) {
        StringBuilder text = new StringBuilder(512);
        fields.forEach((key, value) -> text.append(key).append("=\"").append(value).append("\"\n"));
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
