// Many threads and processes at once. Each change adds a device of its own, so that a lost change is detected.
#include "db/DB_Query.h"
#include "storestate/ModifyOptions.h"
#include "support/Testing.h"

#include <atomic>
#include <csignal>
#include <future>
#include <numeric>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>

/** ThreadSanitizer does not know the loader's lock. */
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
    return "called_from_lib:ld-linux";
}

namespace {

constexpr int WORKERS = 16;
constexpr int THREADS = 4; ///< of each process

/** Starts all workers at the same moment. Each works `times` times and must succeed. */
void expectSuccess(int times, const std::function<bool(int worker, int time)>& work) {
    void* const memory = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    auto* const started = static_cast<std::atomic<int>*>(memory);
    const auto failures = [=](int worker) {
        ++*started;
        while (*started < WORKERS) {
            std::this_thread::yield();
        }
        int failed = 0;
        for (int time = 0; time < times; ++time) {
            failed += work(worker, time) ? 0 : 1;
        }
        return failed;
    };
    for (int first = 0; first < WORKERS; first += THREADS) {
        if (fork() == 0) {
            std::vector<std::future<int>> threads;
            for (int worker = first; worker < first + THREADS; ++worker) {
                threads.push_back(std::async(std::launch::async, failures, worker));
            }
            _exit(std::accumulate(threads.begin(), threads.end(), 0,
                                  [](int sum, auto& each) { return sum + each.get(); }));
        }
    }
    int status = 0;
    while (wait(&status) > 0) {
        EXPECT_EQ(status, 0) << "256 for each failure";
    }
}

TEST(Races, FirstUseOfTheDatabaseIsSafeAndKeepsTheSignalHandler) {
    serverSetting("STORESTATE_TEST_SERVER");
    void (*const handler)(int) = [](int) {};
    signal(SIGPIPE, handler);
    expectSuccess(1, [=](int, int) { return DB_Query().init() == 1 && signal(SIGPIPE, handler) == handler; });
}

/** One call. It also fails if it cannot get the lock in time. */
bool modify(int study, const char* option, const std::string& value) {
    StoreState state(std::to_string(study).c_str(), "");
    const std::vector<OptionPair> pairs = {{option, value.c_str()}};
    bool done = false;
    thrown([&] { done = modifyRecord(state, RECORD_MAY_EXIST, pairsOf(pairs)) == ModifyResult::DONE; });
    return done;
}

TEST(Races, NoChangeIsLost) {
    serverSetting("STORESTATE_TEST_SERVER");
    // The changes are those of a worker in each study; so few that nobody waits too long for the lock.
    for (const auto& [studies, changes] : {std::pair(1, 6), std::pair(12, 2)}) {
        SCOPED_TRACE(studies);
        const Workplace place;
        expectSuccess(changes * studies, [count = studies, perStudy = changes](int worker, int time) {
            const std::string device = std::to_string(worker * perStudy + time / count);
            return modify((worker + time) % count, time % 2 == 0 ? "--setstaged" : "--fwddevice", device);
        });
        for (int study = 0; study < studies; ++study) {
            StoreState state(std::to_string(study).c_str(), "");
            ASSERT_TRUE(state.load());
            const auto devices = state.stagedDevices.NumberOfElements() + state.forwardDevices.NumberOfElements();
            EXPECT_EQ(devices, WORKERS * changes + 2U) << "two from the database";
        }
        EXPECT_TRUE(std::filesystem::is_empty(place.locks()));
    }
}

} // namespace
