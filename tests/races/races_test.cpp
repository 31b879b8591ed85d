// Many threads and processes at once. Each changes something of its own, so that a change that gets lost is missed.
#include "db/DB_Query.h"
#include "storestate/ModifyOptions.h"
#include "support/QXException.h"
#include "support/Workplace.h"

#include <atomic>
#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <vector>

/** The loader guards its own memory with a lock that ThreadSanitizer does not see. */
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
    return "called_from_lib:ld-linux";
}

namespace {

using Work = std::function<bool(int worker, int time)>;

/** All start at the same moment and do their work so many times; whether each time succeeded. */
bool inThreads(int count, int times, const Work& work) {
    std::atomic<int> waiting{count}, succeeded{0};
    std::vector<std::thread> threads;
    for (int worker = 0; worker < count; ++worker) {
        threads.emplace_back([&, worker] {
            for (--waiting; waiting > 0;) { std::this_thread::yield(); }
            for (int time = 0; time < times; ++time) { succeeded += work(worker, time); }
        });
    }
    for (std::thread& thread : threads) { thread.join(); }
    return succeeded == count * times;
}

bool inProcesses(int count, int times, const Work& work) {
    for (int worker = 0; worker < count; ++worker) {
        const bool child = fork() == 0;
        for (int time = 0; child && time < times; ++time) { work(worker, time) ? void() : _exit(1); }
        if (child) { _exit(0); }
    }
    int succeeded = 0, status = 0;
    while (wait(&status) > 0) { succeeded += status == 0; }
    return succeeded == count;
}

TEST(Races, FirstUseOfTheDatabaseIsSafeAndLeavesSigpipeAlone) {
    void (*const ours)(int) = [](int) {};
    signal(SIGPIPE, ours);
    EXPECT_TRUE(inThreads(16, 1, [](int, int) { return DB_Query().init() == 1; }));
    EXPECT_EQ(ours, signal(SIGPIPE, SIG_DFL));
}

/** One call, made as the native method makes it. A wait beyond the limit of the lock is a failure, too. */
bool modify(int study, const char* option, const std::string& value) try {
    StoreState state(std::to_string(study).c_str(), "");
    loadForModify(state, -1);
    applyModifyOption(state, option, value.c_str());
    return state.save();
} catch (const QXException&) { return false; }

/** The lock lets waiters in by chance: there are so few changes that it is free again before anybody's time is up. */
void contend(bool (*run)(int, int, const Work&), int workers, int studies, int changes) {
    const Workplace place;
    EXPECT_TRUE(run(workers, changes * studies, [=](int worker, int time) {
        const std::string device = std::to_string(worker * changes + time / studies);
        return modify((worker + time) % studies, time % 2 == 0 ? "--setstaged" : "--fwddevice", device);
    }));
    for (int study = 0; study < studies; ++study) {
        StoreState state(std::to_string(study).c_str(), "");
        ASSERT_TRUE(state.load());
        const unsigned int devices = state.stagedDevices.NumberOfElements() + state.forwardDevices.NumberOfElements();
        EXPECT_EQ(workers * changes + 2U, devices); // two from the database
    }
    EXPECT_TRUE(std::filesystem::is_empty(place.locks()));
}

TEST(Races, NoChangeIsLost) {
    contend(inProcesses, 8, 1, 12);
    contend(inProcesses, 8, 12, 2);
    contend(inThreads, 16, 1, 6);
    contend(inThreads, 16, 12, 2);
}

/** STORESTATE_CALLS says how many, by three: one asks the database, one is refused, one deletes the record. */
TEST(Races, CallsLeaveNothingInTheProcess) {
    const Workplace place;
    const char* calls = getenv("STORESTATE_CALLS");
    const auto descriptors = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    const auto call = [](int worker, int) {
        return modify(worker, "--folder", "F") && !modify(worker, "--fwddevice", "no name") &&
               StoreState(std::to_string(worker).c_str(), "").remove();
    };
    EXPECT_TRUE(inThreads(16, 10, call)); // what stays for good is there after this
    const auto filesBefore = descriptors();
    const size_t memoryBefore = mallinfo2().uordblks;
    EXPECT_TRUE(inThreads(16, calls != nullptr ? atoi(calls) / 48 : 60, call));
    EXPECT_EQ(filesBefore, descriptors());
    EXPECT_NEAR(memoryBefore, mallinfo2().uordblks, 4096);
}

/** A 32-bit build that asks for short dates (and with them for short inodes) gets EOVERFLOW and misses the record. */
TEST(WideDates, RecordOfALaterYearThan2038IsFound) {
    const Workplace place;
    Workplace::write(place.record("1.2"), "Version=\"1\"\nFolder=\"found\"\n");
    for (const std::string& path : {place.record("1.2"), place.repository() + "/1.2"}) {
        const timespec late[] = {{2500000000, 0}, {2500000000, 0}};
        struct stat status = {};
        ASSERT_TRUE(utimensat(-1, path.c_str(), late, 0) == 0 && stat(path.c_str(), &status) == 0);
        if (status.st_mtime != late->tv_sec) { GTEST_SKIP() << "the file system of " << path << " has no such dates"; }
    }
    StoreState state("1.2", "");
    EXPECT_TRUE(state.exists() && state.load() && state.folder == "found");
}

} // namespace
