package bench;

import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;
import java.util.Random;
import java.util.concurrent.Callable;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;
import java.util.concurrent.ThreadPoolExecutor;

/**
 * Compares the times of subjects: they run many short batches in turn, so that other load on the machine affects all of
 * them equally. In each round, the others are compared with the first subject.
 */
final class Rounds {
    /** One subject, and the directories that the library uses during its batches. */
    private static final class Entry {
        final String name;
        final Place place;
        final Subject subject;
        final int threads;
        double[] micros;
        int calls;

        Entry(String name, Place place, Subject subject, int threads) {
            this.name = name;
            this.place = place;
            this.subject = subject;
            this.threads = threads;
        }
    }

    /** Medians over the rounds: time of a call, and its ratio to the first subject in the same round. */
    record Result(String name, double micros, double ratio) {}

    private final List<Entry> entries = new ArrayList<>();

    /** Several threads share a batch; the time per call is then the time of the batch divided by all calls. */
    Rounds add(String name, Place place, Subject subject, int threads) {
        entries.add(new Entry(name, place, subject, threads));
        return this;
    }

    List<Result> run(int rounds, int batch) throws Exception {
        for (Entry entry : entries) {
            entry.micros = new double[rounds];
            time(entry, batch);
        }
        List<Entry> order = new ArrayList<>(entries);
        Random random = new Random(1);
        for (int round = 0; round < rounds; round++) {
            // In random order, so that no subject always runs after the same one and finds its caches.
            Collections.shuffle(order, random);
            for (Entry entry : order) {
                entry.micros[round] = time(entry, batch) / 1e3 / batch;
            }
        }
        List<Result> results = new ArrayList<>();
        double[] base = entries.get(0).micros;
        for (Entry entry : entries) {
            double[] ratios = new double[rounds];
            Arrays.setAll(ratios, round -> entry.micros[round] / base[round]);
            results.add(new Result(entry.name, median(entry.micros), median(ratios)));
        }
        return results;
    }

    private static double median(double[] values) {
        double[] sorted = values.clone();
        Arrays.sort(sorted);
        int half = sorted.length / 2;
        return sorted.length % 2 == 1 ? sorted[half] : (sorted[half - 1] + sorted[half]) / 2;
    }

    /** Nanoseconds of a batch. */
    private static long time(Entry entry, int batch) throws Exception {
        entry.place.enter();
        int first = entry.calls;
        entry.calls += batch;
        if (entry.threads > 1) {
            return timeThreads(entry, first, batch);
        }
        long start = System.nanoTime();
        call(entry, first, batch, 1);
        return System.nanoTime() - start;
    }

    /** Each thread has the numbers with its own remainder, and so its own studies. */
    private static long timeThreads(Entry entry, int first, int batch) throws Exception {
        ThreadPoolExecutor pool = (ThreadPoolExecutor) Executors.newFixedThreadPool(entry.threads);
        pool.prestartAllCoreThreads();
        List<Callable<Void>> work = new ArrayList<>();
        for (int thread = 0; thread < entry.threads; thread++) {
            int own = first + thread;
            work.add(() -> call(entry, own, batch / entry.threads, entry.threads));
        }
        try {
            long start = System.nanoTime();
            for (Future<Void> worker : pool.invokeAll(work)) {
                worker.get();
            }
            return System.nanoTime() - start;
        } finally {
            pool.shutdown();
        }
    }

    private static Void call(Entry entry, int first, int count, int step) throws Exception {
        for (int i = 0; i < count; i++) {
            if (!entry.subject.call(first + i * step)) {
                throw new IllegalStateException(entry.name + " failed");
            }
        }
        return null;
    }
}
