package bench;

import quillon.util.StoreState;

/** {@code modify} of existing records through the virtual machine, with the supplied plug-in. */
final class Modify implements Subject {
    private final String[] studies;

    Modify(String[] studies) {
        this.studies = studies;
    }

    @Override
    public boolean call(int number) {
        return StoreState.modify(studies[number % studies.length], StoreState.MUST_EXIST, options(number), false);
    }

    /** The change that all subjects make. The value is new each time, because some do nothing if nothing changes. */
    static String[] options(int number) {
        return new String[] {"--stagestate", "state" + number};
    }
}
