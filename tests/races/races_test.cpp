// Many threads and processes at once. Each changes something of its own, so that a change that gets lost is missed.
#include "db/DB_Query.h"
#include "storestate/ModifyOptions.h"
#include "support/Testing.h"

#include <atomic>
#include <csignal>
#include <malloc.h>
#include <sys/wait.h>
#include <thread>

/** The loader guards its own memory with a lock that ThreadSanitizer does not see. */
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
    return "called_from_lib:ld-linux";
}

namespace {

using Work = std::function<bool(int worker, int time)>;

/** All start at the same moment and do their work so many times; how many times it succeeded. */
int inThreads(int count, int times, const Work& work) {
    std::atomic<int> waiting{count}, succeeded{0};
    std::vector<std::thread> threads;
    for (int worker = 0; worker < count; ++worker) {
        threads.emplace_back([&, worker] {
            for (--waiting; waiting > 0;) { std::this_thread::yield(); }
            for (int time = 0; time < times; ++time) { succeeded += work(worker, time); }
        });
    }
    for (std::thread& thread : threads) { thread.join(); }
    return succeeded;
}

int inProcesses(int count, int times, const Work& work) {
    for (int worker = 0; worker < count; ++worker) {
        const bool child = fork() == 0;
        int failed = 0;
        for (int time = 0; child && time < times; ++time) { failed += !work(worker, time); }
        if (child) { _exit(failed); }
    }
    int succeeded = count * times;
    for (int status = 0; wait(&status) > 0;) { succeeded -= WIFEXITED(status) ? WEXITSTATUS(status) : times; }
    return succeeded;
}

TEST(Races, FirstUseOfTheDatabaseIsSafeAndLeavesSigpipeAlone) {
    void (*const ours)(int) = [](int) {};
    signal(SIGPIPE, ours);
    EXPECT_EQ(inThreads(16, 1, [](int, int) { return DB_Query().init() == 1; }), 16);
    EXPECT_EQ(ours, signal(SIGPIPE, SIG_DFL));
}

/** One call, made as the native method makes it. A wait beyond the limit of the lock is a failure, too. */
bool modify(int study, const char* option, const std::string& value) {
    StoreState state(std::to_string(study).c_str(), "");
    const auto call = [&] {
        loadForModify(state, RECORD_MAY_EXIST);
        applyModifyOption(state, option, value.c_str());
        state.save() ? void() : throw QXException("not saved");
    };
    return thrown(call).empty();
}

/** There are so few changes that the lock is free again before anybody's time is up. */
void contend(const char* name, int (*run)(int, int, const Work&), int workers, int studies, int changes) {
    SCOPED_TRACE(name);
    const Workplace place;
    const auto change = [=](int worker, int time) {
        const std::string device = std::to_string(worker * changes + time / studies);
        return modify((worker + time) % studies, time % 2 == 0 ? "--setstaged" : "--fwddevice", device);
    };
    EXPECT_EQ(run(workers, changes * studies, change), workers * changes * studies);
    for (int study = 0; study < studies; ++study) {
        StoreState state(std::to_string(study).c_str(), "");
        ASSERT_TRUE(state.load());
        const unsigned int devices = state.stagedDevices.NumberOfElements() + state.forwardDevices.NumberOfElements();
        EXPECT_EQ(devices, workers * changes + 2U) << "two from the database";
    }
    EXPECT_TRUE(std::filesystem::is_empty(place.locks()));
}

TEST(Races, NoChangeIsLost) {
    contend("processes on one study", inProcesses, 8, 1, 12);
    contend("processes on many", inProcesses, 8, 12, 2);
    contend("threads on one study", inThreads, 16, 1, 6);
    contend("threads on many", inThreads, 16, 12, 2);
}

/** STORESTATE_CALLS says how many, by three: one asks the database, one is refused, one deletes the record. */
TEST(Races, CallsLeaveNothingInTheProcess) {
    const Workplace place;
    const char* calls = getenv("STORESTATE_CALLS");
    const int times = calls != nullptr ? atoi(calls) / 48 : 60;
    const auto descriptors = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    const auto call = [](int worker, int) {
        return modify(worker, "--folder", "F") && !modify(worker, "--fwddevice", "no name") &&
               StoreState(std::to_string(worker).c_str(), "").remove();
    };
    EXPECT_EQ(inThreads(16, 10, call), 16 * 10); // what stays for good is there after this
    const auto filesBefore = descriptors();
    const size_t memoryBefore = mallinfo2().uordblks;
    EXPECT_EQ(inThreads(16, times, call), 16 * times);
    EXPECT_EQ(filesBefore, descriptors());
    EXPECT_NEAR(memoryBefore, mallinfo2().uordblks, 4096);
}

} // namespace
