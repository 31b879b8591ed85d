// What tests/cluster/run has its hosts do: calls as the Java methods make them, with one line of output for each.
#include "storestate/ModifyOptions.h"
#include "storestate/StudyLock.h"
#include "support/QXException.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <random>
#include <thread>

namespace {

constexpr size_t NAME_LENGTH = 8; ///< of all devices, so that a torn name is noticed

/** "true", or "false" and the reason, which the Java methods do not give. */
std::string answer(const std::function<bool()>& work) {
    try {
        return work() ? "true" : "false";
    } catch (const QXException& failure) {
        std::string reason;
        failure.toString(reason);
        return "false " + reason;
    }
}

bool modify(const std::string& study, int mode, const std::string& device) {
    StoreState state(study.c_str(), "");
    const std::vector<OptionPair> pairs = {{"--folder", "Main"}, {"--fwddevice", device.c_str()}};
    return modifyRecord(state, mode, pairsOf(pairs)) == ModifyResult::DONE;
}

/** Comes to a meeting of processes, and waits until they have come so many times in all. */
void meet(const std::string& path, uintmax_t times) {
    std::ofstream(path, std::ios::app) << '.';
    while (std::filesystem::file_size(path) < times) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

// Makes calls each of which adds a device of its own. PARTIES processes change one study after the other together; with
// 0, each process changes studies at random. With one study, the prefix is its name.
void change(char** arguments) {
    const int mode = atoi(arguments[2]);
    const std::string prefix = arguments[3];
    const auto studies = static_cast<unsigned>(atoi(arguments[4]));
    const auto count = static_cast<unsigned>(atoi(arguments[5]));
    const std::string host = arguments[6]; // begins the devices' names
    const auto parties = static_cast<unsigned>(atoi(arguments[7]));
    std::mt19937 random((std::random_device())());
    for (unsigned i = 0; i < count && !std::filesystem::exists("/tmp/stop"); ++i) {
        const std::string number = std::to_string(i);
        const std::string device = host + std::string(NAME_LENGTH - host.size() - number.size(), '_') + number;
        std::string study = prefix;
        if (studies > 1) {
            study += parties > 0 ? number : std::to_string(random() % studies);
        }
        meet("/tmp/meeting." + prefix, (i + 1) * parties);
        const std::string said = answer([&] { return modify(study, mode, device); });
        std::cout << study << " " << device << " " << said << std::endl;
    }
}

} // namespace

/** change MODE PREFIX STUDIES COUNT HOST PARTIES | exists|unlock STUDY */
int main(int, char** arguments) {
    const std::string what = arguments[1];
    if (what == "change") {
        change(arguments);
        return 0;
    }
    StoreState state(arguments[2], "");
    std::cout << answer([&] { return what == "exists" ? state.exists() : storestate::unlockStudy(state); })
              << std::endl;
}
