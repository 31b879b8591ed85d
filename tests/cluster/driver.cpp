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

struct Changes {
    int mode;
    std::string prefix; ///< of the studies
    unsigned studies;   ///< 1: the prefix is the only study's name
    unsigned count;
    std::string host; ///< begins the devices' names
    unsigned parties; ///< 0: changes studies at random; else this many processes change one after the other together
};

/** Makes calls each of which adds a device of its own. */
void change(const Changes& changes) {
    std::mt19937 random((std::random_device())());
    for (unsigned i = 0; i < changes.count && !std::filesystem::exists("/tmp/stop"); ++i) {
        const std::string number = std::to_string(i);
        const size_t fill = NAME_LENGTH - changes.host.size() - number.size();
        const std::string device = changes.host + std::string(fill, '_') + number;
        std::string study = changes.prefix;
        if (changes.studies > 1) {
            study += changes.parties > 0 ? number : std::to_string(random() % changes.studies);
        }
        meet("/tmp/meeting." + changes.prefix, (i + 1) * changes.parties);
        const std::string said = answer([&] { return modify(study, changes.mode, device); });
        std::cout << study << " " << device << " " << said << std::endl;
    }
}

} // namespace

/** change MODE PREFIX STUDIES COUNT HOST PARTIES | exists|unlock STUDY */
int main(int, char** arguments) {
    const std::string what = arguments[1];
    if (what == "change") {
        const auto number = [&](int index) { return static_cast<unsigned>(atoi(arguments[index])); };
        change({atoi(arguments[2]), arguments[3], number(4), number(5), arguments[6], number(7)});
        return 0;
    }
    StoreState state(arguments[2], "");
    std::cout << answer([&] { return what == "exists" ? state.exists() : storestate::unlockStudy(state); })
              << std::endl;
}
