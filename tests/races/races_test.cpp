// Many threads or processes at once. Each change adds a device of its own, so that a lost change is detected.
#include "db/DB_Query.h"
#include "storestate/ModifyOptions.h"
#include "support/Testing.h"

#include <atomic>
#include <csignal>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>

/** ThreadSanitizer does not know the loader's lock. */
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
    return "called_from_lib:ld-linux";
}

namespace {

enum Kind { THREADS, PROCESSES };

/** Starts all workers at the same moment. Each works `times` times. Returns how often the work succeeded. */
int run(Kind kind, int count, int times, const std::function<bool(int worker, int time)>& work) {
    void* const counters = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    auto* const started = static_cast<std::atomic<int>*>(counters);
    auto* const succeeded = started + 1;
    const auto workAll = [=](int worker) {
        ++*started;
        while (*started < count) {
            std::this_thread::yield();
        }
        for (int time = 0; time < times; ++time) {
            *succeeded += work(worker, time) ? 1 : 0;
        }
    };
    std::vector<std::thread> threads;
    for (int worker = 0; worker < count; ++worker) {
        if (kind == THREADS) {
            threads.emplace_back(workAll, worker);
        } else if (fork() == 0) {
            workAll(worker);
            _exit(0);
        }
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    pid_t ended = 0;
    do {
        ended = wait(nullptr);
    } while (ended > 0);
    return *succeeded;
}

TEST(Races, FirstUseOfTheDatabaseIsSafeAndKeepsTheSignalHandler) {
    requireServer();
    void (*const handler)(int) = [](int) {};
    signal(SIGPIPE, handler);
    EXPECT_EQ(run(THREADS, 16, 1, [](int, int) { return DB_Query().init() == 1; }), 16);
    EXPECT_EQ(signal(SIGPIPE, SIG_DFL), handler);
}

/** One call. It also fails if it cannot get the lock in time. */
bool modify(int study, const char* option, const std::string& value) {
    StoreState state(std::to_string(study).c_str(), "");
    const std::vector<OptionPair> pairs = {{option, value.c_str()}};
    ModifyResult result = ModifyResult::WRONG_EXISTENCE;
    const std::string failure = thrown([&] { result = modifyRecord(state, RECORD_MAY_EXIST, pairsOf(pairs)); });
    return failure.empty() && result == ModifyResult::DONE;
}

TEST(Races, NoChangeIsLost) {
    requireServer();
    const struct {
        const char* name;
        Kind kind;
        int workers;
        int studies;
        int changes; ///< of a worker in each study; so few that nobody waits too long for the lock
    } cases[] = {
        {"processes on one study", PROCESSES, 8, 1, 12},
        {"processes on many", PROCESSES, 8, 12, 2},
        {"threads on one study", THREADS, 16, 1, 6},
        {"threads on many", THREADS, 16, 12, 2},
    };
    for (const auto& [name, kind, workers, studies, changes] : cases) {
        SCOPED_TRACE(name);
        const Workplace place;
        const auto change = [count = studies, perStudy = changes](int worker, int time) {
            const std::string device = std::to_string(worker * perStudy + time / count);
            return modify((worker + time) % count, time % 2 == 0 ? "--setstaged" : "--fwddevice", device);
        };
        EXPECT_EQ(run(kind, workers, changes * studies, change), workers * changes * studies);
        for (int study = 0; study < studies; ++study) {
            StoreState state(std::to_string(study).c_str(), "");
            ASSERT_TRUE(state.load());
            const auto devices = state.stagedDevices.NumberOfElements() + state.forwardDevices.NumberOfElements();
            EXPECT_EQ(devices, workers * changes + 2U) << "two from the database";
        }
        EXPECT_TRUE(std::filesystem::is_empty(place.locks()));
    }
}

} // namespace
