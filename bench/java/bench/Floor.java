package bench;

/** Only the system calls of one {@code modify}: no implementation that makes them can be faster. */
final class Floor implements Subject {
    private final long[] studies;

    Floor(String plugin, Place place, String[] names) {
        studies = new long[names.length];
        for (int i = 0; i < names.length; i++) {
            studies[i] = prepare(plugin, place.repository.toString(), place.locks.toString(), names[i]);
        }
    }

    @Override
    public boolean call(int number) {
        return modify(studies[number % studies.length]);
    }

    /** Makes the paths of a study; the result is a handle for {@link #modify}. */
    private static native long prepare(String plugin, String repository, String locks, String study);

    private static native boolean modify(long study);

    /** Sets a variable that native code reads. */
    static native void setEnvironment(String name, String value);
}
