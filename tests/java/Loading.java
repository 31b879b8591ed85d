import java.net.URL;
import java.net.URLClassLoader;
import java.nio.file.Files;
import java.nio.file.Paths;
import quillon.util.StoreState;

/**
 * Uses the class and prints the answer and the native libraries in the process. An argument is a library to load
 * before, or a jar whose class is used before.
 */
public final class Loading {
    public static void main(String[] args) throws Exception {
        if (args.length > 0 && args[0].endsWith(".jar")) {
            URL[] jar = {Paths.get(args[0]).toUri().toURL()};
            Class.forName("quillon.util.StoreState", true, new URLClassLoader(jar, null));
        } else if (args.length > 0) {
            System.load(args[0]);
        }
        System.out.println(StoreState.unlock("unknown"));
        for (String mapping : Files.readAllLines(Paths.get("/proc/self/maps"))) {
            if (mapping.contains("libstorestate.so") && mapping.contains("r-x")) {
                System.out.println(mapping.substring(mapping.indexOf('/')));
            }
        }
    }
}
