#ifndef TESTS_FUZZ_FIELDS_H
#define TESTS_FUZZ_FIELDS_H

#include "storestate/RecordFormat.h"
#include "storestate/TextFile.h"
#include "support/QXException.h"
#include "support/Workplace.h"

#include <unistd.h>
#include <vector>

#define REQUIRE(condition) ((condition) ? void() : (dprintf(STDERR_FILENO, "violated: %s\n", #condition), abort()))

enum Field { OWNER, PROCESS, STAGE, FOLDER, SOURCE, ARCHIVE, DERIVED, STUDY, STAGED, FORWARD, LOCAL, GOT, EDIT, KEEP };

/** What a record stores, indexed by Field; at the end its version. */
inline std::vector<std::string> fields(const StoreState& s) {
    const auto list = [](auto... values) { return std::vector<std::string>{values...}; };
    const auto names = [](const OFUnorderedSet<OFString>& devices) {
        std::string text;
        for (unsigned int i = 0; i < devices.NumberOfElements(); ++i) {
            text += std::to_string(devices[i].size()) + ":" + devices[i];
        }
        return text;
    };
    const auto yes = [](bool marking) { return marking ? "yes" : ""; };
    return list(s.ownerDevice, s.processMode, s.stageState, s.folder, s.sourceDevice, s.archiveDevice, s.derived,
                s.sourceStudy, names(s.stagedDevices), names(s.forwardDevices), yes(s.studyOwner), yes(s.retrieved),
                yes(s.dontEdit), yes(s.dontDelete), std::to_string(s.version));
}

/** The next part of the input, up to the separator. */
inline std::string take(std::string& input, char separator) {
    const std::string part = input.substr(0, input.find(separator));
    input.erase(0, part.size() + 1);
    return part;
}

#endif
