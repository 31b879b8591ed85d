// Many threads and processes at once. Each changes something of its own, so that a change that gets lost is missed.
#include "db/DB_Query.h"
#include "storestate/ModifyOptions.h"
#include "support/Testing.h"

#include <atomic>
#include <csignal>
#include <malloc.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>

/** The loader guards its own memory with a lock that ThreadSanitizer does not see. */
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
    return "called_from_lib:ld-linux";
}

namespace {

enum Kind { THREADS, PROCESSES };

/** All start at the same moment and do their work so many times; how many times it succeeded. */
int run(Kind kind, int count, int times, const std::function<bool(int worker, int time)>& work) {
    const auto counters = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    auto* const started = static_cast<std::atomic<int>*>(counters);
    auto* const succeeded = started + 1;
    const auto all = [=](int worker) {
        for (++*started; *started < count;) {
            std::this_thread::yield();
        }
        for (int time = 0; time < times; ++time) {
            *succeeded += work(worker, time);
        }
    };
    std::vector<std::thread> threads;
    for (int worker = 0; worker < count; ++worker) {
        if (kind == THREADS) {
            threads.emplace_back(all, worker);
        }
        if (kind == PROCESSES && fork() == 0) {
            all(worker), _exit(0);
        }
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    while (wait(nullptr) > 0) {
    }
    return *succeeded;
}

TEST(Races, FirstUseOfTheDatabaseIsSafeAndLeavesSigpipeAlone) {
    void (*const ours)(int) = [](int) {};
    signal(SIGPIPE, ours);
    EXPECT_EQ(run(THREADS, 16, 1, [](int, int) { return DB_Query().init() == 1; }), 16);
    EXPECT_EQ(ours, signal(SIGPIPE, SIG_DFL));
}

/** One call, made as the native method makes it. A wait beyond the limit of the lock is a failure, too. */
bool modify(int study, const char* option, const std::string& value) {
    StoreState state(std::to_string(study).c_str(), "");
    const std::vector<OptionPair> pairs = {{option, value.c_str()}};
    ModifyResult result = ModifyResult::WRONG_EXISTENCE;
    const std::string failure = thrown([&] { result = modifyRecord(state, RECORD_MAY_EXIST, pairsOf(pairs)); });
    return failure.empty() && result == ModifyResult::DONE;
}

/** There are so few changes that the lock is free again before anybody's time is up. */
void contend(const char* name, Kind kind, int workers, int studies, int changes) {
    SCOPED_TRACE(name);
    const Workplace place;
    const auto change = [=](int worker, int time) {
        const std::string device = std::to_string(worker * changes + time / studies);
        return modify((worker + time) % studies, time % 2 == 0 ? "--setstaged" : "--fwddevice", device);
    };
    EXPECT_EQ(run(kind, workers, changes * studies, change), workers * changes * studies);
    for (int study = 0; study < studies; ++study) {
        StoreState state(std::to_string(study).c_str(), "");
        ASSERT_TRUE(state.load());
        const unsigned int devices = state.stagedDevices.NumberOfElements() + state.forwardDevices.NumberOfElements();
        EXPECT_EQ(devices, workers * changes + 2U) << "two from the database";
    }
    EXPECT_TRUE(std::filesystem::is_empty(place.locks()));
}

TEST(Races, NoChangeIsLost) {
    contend("processes on one study", PROCESSES, 8, 1, 12);
    contend("processes on many", PROCESSES, 8, 12, 2);
    contend("threads on one study", THREADS, 16, 1, 6);
    contend("threads on many", THREADS, 16, 12, 2);
}

/** By three: one asks the database, one is refused, one deletes the record. */
TEST(Races, CallsLeaveNothingInTheProcess) {
    const Workplace place;
    const auto descriptors = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    const auto call = [](int worker, int) {
        return modify(worker, "--folder", "F") && !modify(worker, "--fwddevice", "no name") &&
               StoreState(std::to_string(worker).c_str(), "").remove();
    };
    EXPECT_EQ(run(THREADS, 16, 10, call), 16 * 10); // what stays for good is there after this
    const auto filesBefore = descriptors();
    const size_t memoryBefore = mallinfo2().uordblks;
    EXPECT_EQ(run(THREADS, 16, 60, call), 16 * 60);
    EXPECT_EQ(filesBefore, descriptors());
    EXPECT_NEAR(memoryBefore, mallinfo2().uordblks, 4096);
}

} // namespace
