// What tests/cluster/run has its hosts do: calls as the Java methods make them, a line for each with its answer, and
// the check that nothing of what was answered true is lost.
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

using Text = std::string;

constexpr size_t NAME_LENGTH = 8; ///< of all devices but the database's, so that a torn name is seen

/** "true", or "false" and the reason, of which the Java methods say nothing. */
template <class Work>
Text answer(Work work) {
    Text reason;
    try {
        if (work()) {
            return "true";
        }
    } catch (const QXException& failure) {
        failure.toString(reason);
    }
    return reason.empty() ? "false" : "false " + reason;
}

bool modify(const Text& study, int mode, const Text& device) {
    StoreState state(study.c_str(), "");
    const std::vector<OptionPair> pairs = {{"--folder", "Main"}, {"--fwddevice", device.c_str()}};
    return modifyRecord(state, mode, pairsOf(pairs)) == ModifyResult::DONE;
}

/** Each call adds a device of its own: to any of the studies, or to one after the other as soon as all parties are
 * there. */
void change(int mode, const Text& prefix, int studies, int count, const Text& host, int parties) {
    const int file = open(("/tmp/meeting." + prefix).c_str(), O_RDWR | O_CREAT, 0600);
    if (ftruncate(file, sizeof(int)) != 0) {
        exit(1);
    }
    auto& arrived = *static_cast<std::atomic<int>*>(mmap(nullptr, sizeof(int), PROT_WRITE, MAP_SHARED, file, 0));
    srand(std::random_device()());
    for (int i = 0; i < count && access("/tmp/stop", F_OK) != 0; ++i) {
        const Text number = std::to_string(i);
        const Text study = prefix + (studies == 1 ? "" : parties > 0 ? number : std::to_string(rand() % studies));
        const Text device = host + Text(NAME_LENGTH - host.size() - number.size(), '_') + number;
        for (++arrived; arrived < (i + 1) * parties;) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        std::cout << study << " " << device << " " << answer([&] { return modify(study, mode, device); }) << std::endl;
    }
}

/** Looks at all that was answered. 1: something is lost, or a record is torn or not readable; 2: a false. */
int check(char** logs) {
    std::map<Text, std::set<Text>> wanted;
    std::map<Text, int> reasons;
    int calls = 0, lost = 0, torn = 0;
    for (; *logs != nullptr; ++logs) {
        std::ifstream log(*logs);
        Text study, device, said, reason;
        for (; log >> study >> device >> said && getline(log, reason); ++calls) {
            said == "true" ? void(wanted[study].insert(device)) : void(++reasons[reason]);
        }
    }
    for (const auto& [study, devices] : wanted) {
        StoreState state(study.c_str(), "");
        state.diagnostics = stdout;
        OFString path;
        torn += answer([&] { return state.readStored(path); }) != "true" || state.folder != "Main";
        for (const Text& device : devices) {
            lost += !state.forwardDevices.Contains(device.c_str());
        }
        for (size_t i = 0; i < state.forwardDevices.NumberOfElements(); ++i) {
            torn += state.forwardDevices[i].length() != NAME_LENGTH && state.forwardDevices[i] != "WS1";
        }
    }
    std::cout << calls << " calls, lost " << lost << ", torn " << torn;
    for (const auto& [reason, count] : reasons) {
        std::cout << "\n     " << count << " x false" << reason;
    }
    std::cout << std::endl;
    return lost + torn > 0 || calls == 0 ? 1 : reasons.empty() ? 0 : 2;
}

} // namespace

/** change MODE PREFIX STUDIES COUNT HOST PARTIES | check LOG... | exists|remove|lock|unlock STUDY */
int main(int, char** arguments) {
    const Text what = arguments[1];
    const auto number = [&](int at) { return atoi(arguments[at]); };
    if (what == "check") {
        return check(arguments + 2);
    }
    if (what == "change") {
        return change(number(2), arguments[3], number(4), number(5), arguments[6], number(7)), 0;
    }
    StoreState state(arguments[2], "");
    const std::map<Text, std::function<bool()>> calls = {
        {"exists", [&] { return state.exists(); }},
        {"remove", [&] { return state.remove(); }},
        {"lock", [&] { return storestate::lockStudy(state); }},
        {"unlock", [&] { return storestate::unlockStudy(state); }},
    };
    std::cout << answer(calls.at(what)) << std::endl;
}
