import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.Map;
import java.util.TreeMap;

/** Reads a study's files without the library and shows them in words. */
final class RecordView {
    private static final String[] WORDS = {"Version", "record version", "OwnerDevice", "owned by",
        "ProcessMode", "processing mode", "StageState", "staging state", "Folder", "filed in folder",
        "SourceDevice", "came from", "ArchiveDevice", "archived on", "StagedDevices", "staged on",
        "ForwardDevices", "to be forwarded to", "fwds", "separate forward list", "DontDelete", "must not be deleted"};

    /** The record's current values by key, and as "fwds" the separate forward list; empty without a record. */
    static Map<String, String> read(String study) throws IOException {
        Path info = Paths.get(System.getenv("REPOSITORY_DICOM_DATA"), study, ".info");
        Map<String, String> values = new TreeMap<>();
        if (Files.exists(info.resolve("storestate.rec"))) {
            for (String line : Files.readAllLines(info.resolve("storestate.rec"))) {
                int equals = line.indexOf('='); // Key="value"
                values.put(line.substring(0, equals), line.substring(equals + 2, line.length() - 1));
            }
        }
        if (Files.exists(info.resolve("fwds"))) {
            values.put("fwds", String.join(" ", Files.readAllLines(info.resolve("fwds"))));
        }
        return values;
    }

    /** Prints both states side by side; what is new, changed or missing has a sign and a colour. */
    static void print(Map<String, String> before, Map<String, String> after) {
        String heading = before.isEmpty() ? "before (no record)" : "before";
        System.out.println(paint("1", String.format("%n     %-23s%-23s%s", "", heading, "after")));
        for (int i = 0; i < WORDS.length; i += 2) {
            String was = before.getOrDefault(WORDS[i], "-");
            String is = after.getOrDefault(WORDS[i], "-");
            String row = String.format(" %-23s%-23s%s", WORDS[i + 1], was, is);
            if (!was.equals(is)) {
                System.out.println(was.equals("-") ? paint("32", "   +" + row)
                    : is.equals("-") ? paint("31", "   -" + row) : paint("33", "   *" + row));
            } else if (!is.equals("-")) {
                System.out.println("    " + row);
            }
        }
        System.out.println();
    }

    /** The text with the terminal's codes for a colour, if colours are enabled. */
    static String paint(String colour, String text) {
        return Boolean.getBoolean("demo.colours") ? "\033[" + colour + "m" + text + "\033[0m" : text;
    }
}
