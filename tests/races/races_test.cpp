// Many threads and processes at once. Each changes something of its own, so that a change that gets lost is missed.
#include "db/DB_Query.h"
#include "jni/ModifyOptions.h"
#include "support/QXException.h"
#include "support/Workplace.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

/** The loader guards its own memory with a lock that ThreadSanitizer does not see. */
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
    return "called_from_lib:ld-linux";
}

namespace {

using Work = std::function<bool(int worker)>;

/** Lets all go at the same moment; how many succeeded. */
int inThreads(int count, const Work& work) {
    std::atomic<int> waiting{count}, succeeded{0};
    std::vector<std::thread> threads;
    for (int worker = 0; worker < count; ++worker) {
        threads.emplace_back([&, worker] {
            for (--waiting; waiting > 0;) { std::this_thread::yield(); }
            succeeded += work(worker);
        });
    }
    std::for_each(threads.begin(), threads.end(), std::mem_fn(&std::thread::join));
    return succeeded;
}

int inProcesses(int count, const Work& work) {
    for (int worker = 0; worker < count; ++worker) {
        if (fork() == 0) { _exit(work(worker) ? 0 : 1); }
    }
    int succeeded = 0, status = 0;
    while (wait(&status) > 0) { succeeded += status == 0; }
    return succeeded;
}

TEST(Races, FirstUseOfTheDatabaseIsSafeAndLeavesSigpipeAlone) {
    struct sigaction ours = {}, after = {};
    ours.sa_handler = [](int) {};
    sigaction(SIGPIPE, &ours, nullptr);
    EXPECT_EQ(16, inThreads(16, [](int) { return DB_Query().init() == 1; }));
    sigaction(SIGPIPE, nullptr, &after);
    EXPECT_EQ(ours.sa_handler, after.sa_handler);
}

/** One call, made as the native method makes it. A wait beyond the limit of the lock is a failure, too. */
bool modify(int study, const char* option, const std::string& value) try {
    StoreState state(std::to_string(study).c_str(), "");
    loadForModify(state, -1);
    applyModifyOption(state, option, value.c_str());
    return state.save();
} catch (const QXException&) { return false; }

/** The lock lets waiters in by chance: there are so few changes that it is free again before anybody's time is up. */
void contend(int (*run)(int, const Work&), int workers, int studies, int changes) {
    const Workplace place;
    EXPECT_EQ(workers, run(workers, [=](int worker) {
                  int done = 0;
                  for (int i = 0; i < changes * studies; ++i) {
                      const std::string device = std::to_string(worker * changes + i / studies);
                      done += modify((worker + i) % studies, i % 2 == 0 ? "--setstaged" : "--fwddevice", device);
                  }
                  return done == changes * studies;
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
    const auto call = [](int rounds) {
        EXPECT_EQ(16, inThreads(16, [=](int worker) {
                      int right = 0;
                      for (int i = 0; i < rounds; ++i) {
                          right += modify(worker, "--folder", "F") && !modify(worker, "--fwddevice", "no name") &&
                                   StoreState(std::to_string(worker).c_str(), "").remove();
                      }
                      return right == rounds;
                  }));
    };
    call(10); // what stays for good is there after this
    const auto filesBefore = descriptors();
    const size_t memoryBefore = mallinfo2().uordblks;
    call(calls != nullptr ? atoi(calls) / 48 : 60);
    EXPECT_EQ(filesBefore, descriptors());
    EXPECT_NEAR(memoryBefore, mallinfo2().uordblks, 4096);
}

} // namespace
