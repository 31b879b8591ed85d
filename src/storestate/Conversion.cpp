#include "storestate/Conversion.h"

#include "storestate/DeviceSetFiller.h"
#include "storestate/FreshLook.h"
#include "storestate/StoreState.h"
#include "storestate/StudyPaths.h"
#include "support/QXException.h"

#include <algorithm>

namespace {

constexpr char DEFAULT_ARCHIVE_DEVICE[] = "@Archive-@TOP";

} // namespace

OFString storestate::legacyDevice(std::string_view line) {
    const auto* begin = std::find_if_not(line.begin(), line.end(), isWhiteSpace);
    const auto* end = std::find_if(begin, line.end(), isWhiteSpace);
    return begin != end && *begin == '#' ? OFString() : OFString(begin, static_cast<size_t>(end - begin));
}

void StoreState::convert() {
    if (version != 0) {
        return;
    }
    if (archiveDevice.empty()) {
        archiveDevice = DEFAULT_ARCHIVE_DEVICE;
    }
    addAutoForwardDevices(true);

    OFString directory;
    if (!locate(directory)) {
        throw QXException(1, "Study %s not found in repository.", studyId.c_str());
    }
    const OFString path = storestate::legacyListPath(directory);
    storestate::TextFile list;
    if (storestate::openFresh(list, path, isShared(directory))) {
        storestate::DeviceSetFiller forward(forwardDevices);
        std::string_view line;
        while (list.next(line)) {
            const OFString name = storestate::legacyDevice(line);
            if (!name.empty()) {
                forward.add(name);
            }
        }
        legacyList = path;
    }
    version = 1;
}
