import java.net.URL;
import java.net.URLClassLoader;
import java.nio.file.Files;
import java.nio.file.Paths;
import quillon.util.StoreState;

/** Uses the class, perhaps after loading a library itself or using a jar's class; prints the answer and libraries. */
public final class Loading {
    public static void main(String[] args) throws Exception {
        if (args.length > 0 && args[0].endsWith(".jar")) {
            URL[] jar = {Paths.get(args[0]).toUri().toURL()};
            Class.forName("quillon.util.StoreState", true, new URLClassLoader(jar, null));
        } else if (args.length > 0) {
            System.load(args[0]);
        }
        System.out.println(StoreState.unlock("nobody's"));
        Files.lines(Paths.get("/proc/self/maps")).filter(line -> line.contains("libstorestate.so"))
            .map(line -> line.substring(line.indexOf('/'))).distinct().forEach(System.out::println);
    }
}
