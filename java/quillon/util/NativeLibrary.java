package quillon.util;

/**
 * Loads the native library and explains a failure.
 *
 * <p>If the system property {@code quillon.util.StoreState.lib} is set, it names the file and nothing else is tried.
 * Otherwise it takes the library that the program has loaded itself, the one that {@code System.loadLibrary} finds, or
 * the file in Debian's directory for native libraries of this architecture.
 */
final class NativeLibrary {
    private static final String NAME = "storestate";

    private final StringBuilder attempts = new StringBuilder();
    private Throwable last;

    private NativeLibrary() {}

    /** Throws an UnsatisfiedLinkError that lists all attempts. Called once, when StoreState is first used. */
    static void load() {
        String file = System.getProperty("quillon.util.StoreState.lib");
        NativeLibrary library = new NativeLibrary();
        boolean loaded = file != null
            ? library.attempt(file, () -> System.load(file))
            : library.attempt("loaded by the program", () -> StoreState.unlock(null)) // has no effect
                || library.attempt("System.loadLibrary", () -> System.loadLibrary(NAME))
                || library.attempt(debianFile(), () -> System.load(debianFile()));
        if (!loaded) {
            throw library.failure();
        }
    }

    private boolean attempt(String name, Runnable loading) {
        try {
            loading.run();
            return true;
        } catch (UnsatisfiedLinkError | RuntimeException refused) { // Java 8 lacks IllegalCallerException
            attempts.append("\n  ").append(name).append(": ").append(refused.getMessage());
            last = refused;
            return false;
        }
    }

    private UnsatisfiedLinkError failure() {
        if (attempts.indexOf("another classloader") >= 0) {
            attempts.append("\n  A native library serves one class loader. Put the jar on a class path that all parts"
                + " of the program share, for instance the server's own, not into each part.");
        }
        if (attempts.indexOf("native access") >= 0) {
            attempts.append("\n  The virtual machine denies native access. Start it with"
                + " --enable-native-access=ALL-UNNAMED, or with =quillon.util if the jar is on the module path.");
        }
        UnsatisfiedLinkError error = new UnsatisfiedLinkError("Cannot load the native library " + NAME
            + " into this virtual machine (" + System.getProperty("os.arch") + ")." + attempts);
        error.initCause(last);
        return error;
    }

    private static String debianFile() {
        String architecture = System.getProperty("os.arch");
        if (architecture.equals("amd64")) {
            architecture = "x86_64";
        } else if (architecture.equals("x86")) {
            architecture = "i386";
        }
        return "/usr/lib/" + architecture + "-linux-gnu/jni/" + System.mapLibraryName(NAME);
    }
}
