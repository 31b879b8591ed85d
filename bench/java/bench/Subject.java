package bench;

/** Something whose calls are timed. */
interface Subject {
    /** Does the work once; the number says which study's turn it is. False: it failed. */
    boolean call(int number) throws Exception;
}
