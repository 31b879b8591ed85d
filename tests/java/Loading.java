import java.nio.file.Files;
import java.nio.file.Paths;
import quillon.util.StoreState;

/** Uses the class, perhaps after loading the library itself, and prints the answer and the libraries in memory. */
public final class Loading {
    public static void main(String[] args) throws Exception {
        if (args.length > 0) {
            System.load(args[0]);
        }
        System.out.println(StoreState.unlock("nobody's"));
        Files.lines(Paths.get("/proc/self/maps")).filter(line -> line.contains("libstorestate.so"))
            .map(line -> line.substring(line.indexOf('/'))).distinct().forEach(System.out::println);
    }
}
