// What tests/cluster/run has its hosts do: calls as the Java methods make them, with one line of output for each, and
// the check that no change is lost that was answered true.
#include "storestate/ModifyOptions.h"
#include "storestate/StudyLock.h"
#include "support/QXException.h"

#include <atomic>
#include <chrono>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <random>
#include <set>
#include <sys/mman.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr size_t NAME_LENGTH = 8; ///< of all devices but the database's, so that a torn name is noticed
constexpr char DATABASE_DEVICE[] = "WS1";

/** "true", or "false" and the reason, which the Java methods do not give. */
std::string answer(const std::function<bool()>& work) {
    std::string reason;
    try {
        if (work()) {
            return "true";
        }
    } catch (const QXException& failure) {
        failure.toString(reason);
    }
    return reason.empty() ? "false" : "false " + reason;
}

bool modify(const std::string& study, int mode, const std::string& device) {
    StoreState state(study.c_str(), "");
    const std::vector<OptionPair> pairs = {{"--folder", "Main"}, {"--fwddevice", device.c_str()}};
    return modifyRecord(state, mode, pairsOf(pairs)) == ModifyResult::DONE;
}

/** A counter in a file, for processes that do something at the same time. */
std::atomic<int>& sharedCounter(const std::string& path) {
    const int file = open(path.c_str(), O_RDWR | O_CREAT, 0600);
    void* memory = nullptr;
    if (ftruncate(file, sizeof(int)) == 0) {
        memory = mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    }
    if (memory == nullptr || memory == MAP_FAILED) {
        std::cerr << path << " cannot be shared" << std::endl;
        exit(1);
    }
    return *static_cast<std::atomic<int>*>(memory);
}

void await(const std::atomic<int>& counter, int value) {
    while (counter < value) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

struct Changes {
    int mode;
    std::string prefix; ///< of the studies
    int studies;        ///< 1: the prefix is the only study's name
    int count;
    std::string host; ///< begins the devices' names
    int parties;      ///< 0: changes studies at random; else this many processes change one after the other together
};

/** Makes calls each of which adds a device of its own. */
void change(const Changes& changes) {
    std::atomic<int>& arrived = sharedCounter("/tmp/meeting." + changes.prefix);
    std::mt19937 random((std::random_device())());
    for (int i = 0; i < changes.count && access("/tmp/stop", F_OK) != 0; ++i) {
        const std::string number = std::to_string(i);
        const size_t fill = NAME_LENGTH - changes.host.size() - number.size();
        const std::string device = changes.host + std::string(fill, '_') + number;
        std::string study = changes.prefix;
        if (changes.studies > 1) {
            study += changes.parties > 0 ? number : std::to_string(random() % static_cast<unsigned>(changes.studies));
        }
        ++arrived;
        await(arrived, (i + 1) * changes.parties);
        const std::string said = answer([&] { return modify(study, changes.mode, device); });
        std::cout << study << " " << device << " " << said << std::endl;
    }
}

class Check {
public:
    /** Takes in what the calls of change() have printed. */
    void read(const char* path) {
        std::ifstream log(path);
        std::string study;
        std::string device;
        std::string said;
        std::string reason;
        while (log >> study >> device >> said && getline(log, reason)) {
            ++calls;
            if (said == "true") {
                promised[study].insert(device);
            } else {
                ++reasons[reason];
            }
        }
    }

    /** Compares the records with what was answered true. */
    void compare() {
        for (const auto& [study, devices] : promised) {
            StoreState state(study.c_str(), "");
            state.diagnostics = stdout;
            OFString path;
            const bool readable = answer([&] { return state.readStored(path); }) == "true" && state.folder == "Main";
            torn += readable ? 0 : 1;
            for (const std::string& device : devices) {
                lost += state.forwardDevices.Contains(device.c_str()) ? 0 : 1;
            }
            for (size_t i = 0; i < state.forwardDevices.NumberOfElements(); ++i) {
                const OFString& device = state.forwardDevices[i];
                torn += device.length() == NAME_LENGTH || device == DATABASE_DEVICE ? 0 : 1;
            }
        }
    }

    /** Prints the counts. 0: all is well; 1: something is lost or torn, or there were no calls; 2: an answer was false.
     */
    int report() const {
        int falseAnswers = 0;
        for (const auto& [reason, count] : reasons) {
            falseAnswers += count;
        }
        std::cout << calls << " calls, " << falseAnswers << " false, " << lost << " lost, " << torn << " torn";
        for (const auto& [reason, count] : reasons) {
            std::cout << "\n     " << count << " x false" << reason;
        }
        std::cout << std::endl;
        if (lost > 0 || torn > 0 || calls == 0) {
            return 1;
        }
        return falseAnswers > 0 ? 2 : 0;
    }

private:
    std::map<std::string, std::set<std::string>> promised; ///< devices by study
    std::map<std::string, int> reasons;                    ///< how often each came with a false
    int calls = 0;
    int lost = 0;
    int torn = 0;
};

int check(char** logs) {
    Check check;
    for (; *logs != nullptr; ++logs) {
        check.read(*logs);
    }
    check.compare();
    return check.report();
}

} // namespace

/** change MODE PREFIX STUDIES COUNT HOST PARTIES | check LOG... | exists|read|remove|lock|unlock STUDY */
int main(int, char** arguments) {
    const std::string what = arguments[1];
    if (what == "check") {
        return check(arguments + 2);
    }
    if (what == "change") {
        const auto number = [&](int index) { return atoi(arguments[index]); };
        change({number(2), arguments[3], number(4), number(5), arguments[6], number(7)});
        return 0;
    }
    StoreState state(arguments[2], "");
    OFString path;
    const std::map<std::string, std::function<bool()>> calls = {
        {"exists", [&] { return state.exists(); }},
        {"read", [&] { return state.readStored(path); }},
        {"remove", [&] { return state.remove(); }},
        {"lock", [&] { return storestate::lockStudy(state); }},
        {"unlock", [&] { return storestate::unlockStudy(state); }},
    };
    std::cout << answer(calls.at(what)) << std::endl;
    return 0;
}
