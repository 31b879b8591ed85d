package quillon.util;

/**
 * The store-state record of a study: which device owns it, how it is processed and staged, where it is filed, archived
 * and forwarded.
 *
 * <p>The methods are implemented in the native library {@code storestate}, which the first use of this class loads. If
 * the system property {@code quillon.util.StoreState.lib} is set, it is the absolute path of the library, and nothing
 * else is tried. Otherwise the class uses, in this order, a library that the program has loaded itself, the one that
 * {@code System.loadLibrary("storestate")} finds, or the one in Debian's directory for native libraries of this
 * architecture. If all attempts fail, the first use throws an {@link UnsatisfiedLinkError} that lists them.
 *
 * <p>The methods may be called from any thread. They throw no exceptions: the result of a failure, and of a null study
 * identifier, is {@code false}.
 *
 * <p>Processes and threads that work on a study exclude one another by the study's lock. It is a file in a directory
 * that they share; it outlives the process that took it, and it is not re-entrant.
 */
public final class StoreState {

    /** {@link #modify} only creates: the study must not have a record yet. */
    public static final int MUST_NOT_EXIST = 0;

    /** {@link #modify} only changes: the study must have a record. */
    public static final int MUST_EXIST = 1;

    /** {@link #modify} changes the record or creates it. */
    public static final int MAY_EXIST = 2;

    static {
        NativeLibrary.load();
    }

    private StoreState() {}

    /**
     * Takes the study's lock, waiting up to 30 seconds for it. The caller holds it until {@link #unlock}, and meanwhile
     * passes {@code lockHeld} true to the other methods. The lock does not exclude the caller's own threads: while it
     * is held, only one of them may work on the study.
     *
     * @param studyId the study's identifier
     * @return true: this call took the lock. False: another holder kept it, or the lock file cannot be created
     */
    public static native boolean lock(String studyId);

    /**
     * Releases the study's lock, whoever took it.
     *
     * @param studyId the study's identifier
     * @return true: the lock was released, or the study was not locked. False: the lock file cannot be removed
     */
    public static native boolean unlock(String studyId);

    /**
     * Reads the study's record and writes it back. A record of the earlier generation takes over its separate forward
     * list and the configured auto-forward devices; a study without a record gets a new one with those devices.
     *
     * @param studyId the study's identifier
     * @param lockHeld true: the caller holds the study's lock, and keeps it. False: the call takes the lock, waiting up
     *     to 20 seconds for it, and releases it
     * @return true: the record is in place and survives a power cut. False: the record could not be read or written; it
     *     is unchanged, unless only the last steps failed: then it is the new one
     */
    public static native boolean convert(String studyId, boolean lockHeld);

    /**
     * Changes the study's record by options, in their order: elements 0 and 1 of {@code options} are the name and the
     * value of the first, elements 2 and 3 of the second, and so on. A pair with an unknown name is ignored.
     *
     * <table>
     * <caption>Options</caption>
     * <tr><th>Name</th><th>Short</th><th>Effect of the value</th></tr>
     * <tr><td>--processmode</td><td>-p</td><td>processing mode, one word</td></tr>
     * <tr><td>--stagestate</td><td>-g</td><td>staging state, one word</td></tr>
     * <tr><td>--folder</td><td>-f</td><td>folder that the study is filed under</td></tr>
     * <tr><td>--source</td><td>-c</td><td>device that the study came from</td></tr>
     * <tr><td>--archive</td><td>-a</td><td>device that the study is archived on</td></tr>
     * <tr><td>--setowner</td><td>-o</td><td>owner device, no longer staged; empty: owned locally</td></tr>
     * <tr><td>--setstaged</td><td>-s</td><td>device that the study is staged on, no longer its owner</td></tr>
     * <tr><td>--setreportonly</td><td>-e</td><td>device that is neither owner nor staged any more</td></tr>
     * <tr><td>--removedevice</td><td>-r</td><td>device that is no owner, staged or forward device any more</td></tr>
     * <tr><td>--fwddevice</td><td>-w</td><td>device that the study is to be forwarded to</td></tr>
     * <tr><td>--derived</td><td>-d</td><td>free text</td></tr>
     * <tr><td>--sourcestudy</td><td>-y</td><td>free text</td></tr>
     * <tr><td>--dontedit</td><td>-U</td><td>"yes" sets the flag, anything else clears it</td></tr>
     * <tr><td>--dontdelete</td><td>-D</td><td>"yes" sets the flag, anything else clears it</td></tr>
     * <tr><td>--retrieved</td><td>-R</td><td>"yes" sets the flag, anything else clears it</td></tr>
     * <tr><td>--owner</td><td>-O</td><td>"yes": owned locally, without an owner device; anything else: not</td></tr>
     * <tr><td>--autodevice</td><td>-b</td><td>auto-forward devices, ID.TYPE;ID.TYPE, in place of the database's</td></tr>
     * </table>
     *
     * @param studyId the study's identifier
     * @param existenceMode {@link #MUST_NOT_EXIST}, {@link #MUST_EXIST}; any other number is no condition
     * @param options names and values, all of them or none applied; null: the record is read under the condition, and
     *     nothing is written
     * @param lockHeld as for {@link #convert}
     * @return true: the condition holds and the changed record is in place and survives a power cut. False: the
     *     condition does not hold, an option lacks its value or is null, a value cannot be stored, or the record could
     *     not be read or written; it is unchanged, unless only the last steps failed: then it is the new one
     */
    public static native boolean modify(String studyId, int existenceMode, String[] options, boolean lockHeld);
}
