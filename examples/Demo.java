import java.io.BufferedReader;
import java.io.InputStreamReader;
import java.lang.management.ManagementFactory;
import java.util.ArrayList;
import java.util.Collections;
import java.util.List;
import java.util.Map;
import quillon.util.StoreState;

/** Uses each native method on real files, shows what it did, and fails if a result is unexpected. */
public final class Demo {
    private static String study;
    private static Map<String, String> before;
    private static long begin;

    public static void main(String[] args) throws Exception {
        System.loadLibrary("storestate");
        if (args.length > 0) {
            study = args[0];
            otherProcess();
            return;
        }
        step("1  Convert a study of the earlier generation: ", "study-1001"); // scripts/demo has made its files
        called("convert", StoreState.convert(study, false), "");
        result("{ArchiveDevice=@Archive-@TOP, Folder=Neuro, ForwardDevices=WS7 WS1 WS8, OwnerDevice=PACS1, "
            + "SourceDevice=CT1, StagedDevices=PACS2, Version=1}");

        step("2  Create one with the auto-forward devices of the database: ", "study-1002");
        modify(StoreState.MUST_NOT_EXIST, "", "--source", "MR2", "--folder", "Cardio", "--dontdelete", "yes");
        result("{DontDelete=yes, Folder=Cardio, ForwardDevices=WS1, OwnerDevice=PACS1, SourceDevice=MR2, "
            + "StagedDevices=PACS2, Version=1}");

        step("3  Modify one; what cannot be done changes nothing: ", "study-1002");
        modify(StoreState.MUST_NOT_EXIST, "it exists", "--fwddevice", "WS3");
        modify(StoreState.MUST_EXIST, "a folder has no +", "--fwddevice", "WS3", "--folder", "A+B");
        check(before.equals(RecordView.read(study)), "a call that failed changed the record");
        modify(StoreState.MUST_EXIST, "", "--setowner", "PACS2", "--fwddevice", "WS4", "--dontdelete", "no");
        result("{Folder=Cardio, ForwardDevices=WS1 WS4, OwnerDevice=PACS2, SourceDevice=MR2, Version=1}");

        step("4  Lock one, so that another process waits: ", "study-1002");
        twoProcesses();
        result("{Folder=Cardio, ForwardDevices=WS1 WS4, OwnerDevice=PACS2, ProcessMode=manual, SourceDevice=MR2, "
            + "StageState=online, Version=1}");
    }

    private static void twoProcesses() throws Exception {
        System.out.println(RecordView.paint("1", String.format("%n           %-33s%s", "this process", "another one")));
        begin = System.nanoTime();
        event("lock -> " + check(StoreState.lock(study), "lock failed"), "");
        List<String> command = new ArrayList<>(ManagementFactory.getRuntimeMXBean().getInputArguments());
        command.add(0, System.getProperty("java.home") + "/bin/java");
        Collections.addAll(command, "-cp", System.getProperty("java.class.path"), "Demo", study);
        Process other = new ProcessBuilder(command).redirectError(ProcessBuilder.Redirect.INHERIT).start();
        try (BufferedReader told = new BufferedReader(new InputStreamReader(other.getInputStream()))) {
            event("", told.readLine());
            Thread.sleep(1000);
            event("modify processing mode -> " + change("--processmode", "manual"), "");
            check(!told.ready() && !RecordView.read(study).containsKey("StageState"), "the other process did not wait");
            event("unlock -> " + check(StoreState.unlock(study), "unlock failed"), "");
            for (String line = told.readLine(); line != null; line = told.readLine()) {
                event("", line);
            }
            check(other.waitFor() == 0, "the other process failed");
        } finally {
            other.destroyForcibly().waitFor();
        }
    }

    private static void otherProcess() {
        System.out.println("lock ... has to wait");
        System.out.println("lock -> " + check(StoreState.lock(study), "lock failed"));
        System.out.println("modify staging state -> " + change("--stagestate", "online"));
        System.out.println("unlock -> " + check(StoreState.unlock(study), "unlock failed"));
    }

    /** Modifies the study while its lock is held. */
    private static boolean change(String option, String value) {
        String[] options = {option, value};
        return check(StoreState.modify(study, StoreState.MUST_EXIST, options, true), "modify failed");
    }

    /** Modifies the study. {@code reason}: why this must fail; empty if it must succeed. */
    private static void modify(int mode, String reason, String... options) {
        String name = mode == StoreState.MUST_EXIST ? "MUST_EXIST " : "MUST_NOT_EXIST ";
        called("modify " + name + String.join(" ", options), StoreState.modify(study, mode, options, false), reason);
    }

    private static void called(String call, boolean answer, String reason) {
        System.out.println("   " + call + " -> " + answer + (reason.isEmpty() ? "" : ": " + reason));
        check(answer == reason.isEmpty(), "that answer is wrong");
    }

    private static void step(String title, String name) throws Exception {
        study = name;
        before = RecordView.read(study);
        System.out.println(RecordView.paint("1;36", title + study));
    }

    private static void result(String expected) throws Exception {
        Map<String, String> after = RecordView.read(study);
        RecordView.print(before, after);
        check(after.toString().equals(expected), "the record should say " + expected);
    }

    private static void event(String here, String there) {
        double seconds = (System.nanoTime() - begin) / 1e9;
        System.out.println(String.format("   %4.1f s  %-33s%s", seconds, here, there).replaceAll(" +$", ""));
    }

    private static boolean check(boolean condition, String otherwise) {
        if (!condition) {
            throw new IllegalStateException(otherwise);
        }
        return true;
    }
}
