#include "commands/Commands.h"
#include "commands/Failure.h"
#include "storestate/ModifyOptions.h"
#include "terminal/Interruption.h"

namespace storestate {
namespace {

/** What is wrong with the options as they stand on the command line; empty when nothing is. */
std::string mistake(const std::vector<std::string>& options) {
    for (size_t i = 0; i < options.size(); i += 2) {
        if (findModifyOption(options[i].c_str()) == nullptr) {
            return "There is no option " + options[i] + ".";
        }
        if (i + 1 == options.size()) {
            return "Option " + options[i] + " lacks its value.";
        }
    }
    return "";
}

} // namespace

int modifyRecord(const std::string& study, int32_t existenceMode, const std::vector<std::string>& options,
                 bool lockHeld) {
    const std::string wrong = mistake(options);
    if (!wrong.empty()) {
        return complain(study, wrong, STATUS_USAGE);
    }
    return guarded(study, [&]() -> int {
        requirePlugin();
        const Interruption interruption;
        StoreState state(study.c_str(), "");
        state.useLock = !lockHeld;
        if (!loadForModify(state, existenceMode)) {
            const bool mustExist = existenceMode == RECORD_MUST_EXIST;
            return complain(study, mustExist ? "The record does not exist." : "The record exists already.",
                            STATUS_EXISTENCE);
        }
        for (size_t i = 0; i < options.size(); i += 2) {
            applyModifyOption(state, options[i].c_str(), options[i + 1].c_str());
        }
        saveOrThrow(state);
        return STATUS_DONE;
    });
}

} // namespace storestate
