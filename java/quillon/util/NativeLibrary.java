package quillon.util;

import java.io.DataInputStream;
import java.io.File;
import java.io.FileInputStream;
import java.io.IOException;
import java.util.Arrays;
import java.util.LinkedHashSet;
import java.util.Set;

/**
 * Finds and loads the native library, and says why when it cannot.
 *
 * <p>The file that the system property {@code quillon.util.StoreState.lib} names, and then nothing else. Without the
 * property: what the program has loaded itself; otherwise {@code System.loadLibrary}; otherwise every file of that name
 * on the library path, of which {@code System.loadLibrary} looks at the first only; otherwise the directories where
 * Debian's packages put such libraries.
 */
final class NativeLibrary {
    private static final String PROPERTY = "quillon.util.StoreState.lib";
    private static final String NAME = "storestate";
    private static final String FILE_NAME = System.mapLibraryName(NAME);

    private final StringBuilder attempts = new StringBuilder();
    private Throwable last;

    private NativeLibrary() {}

    /** Throws an UnsatisfiedLinkError that lists every attempt. Called once, when StoreState is first used. */
    static void load() {
        String file = System.getProperty(PROPERTY);
        NativeLibrary library = new NativeLibrary();
        try {
            if (file != null ? library.loadFile(file) : library.find()) {
                return;
            }
        } catch (RuntimeException denied) { // an IllegalCallerException, which Java 8 does not have
            library.note("not permitted (newer virtual machines want to be started with "
                    + "--enable-native-access=ALL-UNNAMED, or with =quillon.util if the jar is on the module path)", denied);
        }
        throw library.failure();
    }

    private boolean find() {
        return isLoaded() || loadByName() || loadFirst(candidates());
    }

    /** Whether the program has loaded it already: a call without a study does nothing but that it is linked. */
    private static boolean isLoaded() {
        try {
            StoreState.unlock(null);
            return true;
        } catch (UnsatisfiedLinkError notLinked) {
            return false;
        }
    }

    private boolean loadByName() {
        try {
            System.loadLibrary(NAME);
            return true;
        } catch (UnsatisfiedLinkError refused) {
            note("System.loadLibrary(\"" + NAME + "\")", refused);
            return false;
        }
    }

    private boolean loadFirst(Set<File> candidates) {
        for (File candidate : candidates) {
            if (loadFile(candidate.getPath())) {
                return true;
            }
        }
        return false;
    }

    private boolean loadFile(String file) {
        try {
            System.load(file);
            return true;
        } catch (UnsatisfiedLinkError refused) {
            note(file + architecture(new File(file)), refused);
            return false;
        }
    }

    private void note(String attempt, Throwable refused) {
        attempts.append("\n  ").append(attempt).append(": ").append(refused.getMessage());
        last = refused;
    }

    private UnsatisfiedLinkError failure() {
        if (attempts.indexOf("another classloader") >= 0) {
            attempts.append("\n  A native library serves one class loader: put the jar once where all of the program's "
                + "parts find it, such as the server's own class path, and not into each of them.");
        }
        UnsatisfiedLinkError error = new UnsatisfiedLinkError("The native library " + NAME
            + " cannot be loaded into this virtual machine (" + System.getProperty("os.arch") + ", "
            + System.getProperty("sun.arch.data.model") + " bits)." + attempts);
        error.initCause(last);
        return error;
    }

    /** The files on the library path; Debian's for this architecture, there or not; Debian's for any other. */
    private static Set<File> candidates() {
        Set<File> files = new LinkedHashSet<>();
        for (String directory : System.getProperty("java.library.path", "").split(File.pathSeparator)) {
            addIfThere(files, new File(directory.isEmpty() ? "." : directory));
        }
        File root = new File("/usr/lib");
        String own = multiarch(System.getProperty("os.arch", ""));
        if (own != null) {
            files.add(new File(root, own + "/jni/" + FILE_NAME));
        }
        files.add(new File(root, "jni/" + FILE_NAME));
        String[] names = root.list();
        String[] others = names != null ? names : new String[0];
        Arrays.sort(others);
        for (String other : others) {
            addIfThere(files, new File(root, other + "/jni"));
        }
        return files;
    }

    private static void addIfThere(Set<File> files, File directory) {
        File candidate = new File(directory, FILE_NAME).getAbsoluteFile();
        if (candidate.exists()) {
            files.add(candidate);
        }
    }

    private static String multiarch(String architecture) {
        switch (architecture) {
            case "amd64":
            case "x86_64":
                return "x86_64-linux-gnu";
            case "i386":
            case "x86":
                return "i386-linux-gnu";
            default:
                return architecture.isEmpty() ? null : architecture + "-linux-gnu";
        }
    }

    /** " (amd64, 64 bits)", from the file's header; empty for a file that cannot be read. */
    private static String architecture(File file) {
        byte[] header = new byte[20];
        try (DataInputStream in = new DataInputStream(new FileInputStream(file))) {
            in.readFully(header);
        } catch (IOException unreadable) {
            return "";
        }
        if (header[0] != 0x7f || header[1] != 'E' || header[2] != 'L' || header[3] != 'F') {
            return " (not a library)";
        }
        boolean littleEndian = header[5] == 1;
        int machine = (header[littleEndian ? 18 : 19] & 0xff) | (header[littleEndian ? 19 : 18] & 0xff) << 8;
        return " (" + machineName(machine) + ", " + (header[4] == 2 ? 64 : 32) + " bits)";
    }

    private static String machineName(int machine) {
        switch (machine) {
            case 3:
                return "i386";
            case 40:
                return "arm";
            case 62:
                return "amd64";
            case 183:
                return "aarch64";
            default:
                return "machine " + machine;
        }
    }
}
