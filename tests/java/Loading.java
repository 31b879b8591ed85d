import java.net.URL;
import java.net.URLClassLoader;
import java.nio.file.Paths;
import quillon.util.StoreState;

/** Uses the class and prints the answer. An argument is a library to load before, or a jar to use it from before. */
public final class Loading {
    public static void main(String[] args) throws Exception {
        if (args.length > 0 && args[0].endsWith(".jar")) {
            URL[] jar = {Paths.get(args[0]).toUri().toURL()};
            Class.forName("quillon.util.StoreState", true, new URLClassLoader(jar, null));
        } else if (args.length > 0) {
            System.load(args[0]);
        }
        System.out.println(StoreState.unlock("unknown"));
    }
}
