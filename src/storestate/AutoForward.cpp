#include "storestate/AutoForward.h"

#include "storestate/DeviceSetFiller.h"
#include "support/QXException.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace storestate {
namespace {

constexpr size_t QUERY_BUFFER = 256; ///< bytes, terminator included

void query(DB_Query& session) {
    if (session.init() == 0) {
        throw QXException(NOT_CONNECTED);
    }
    const char* targets = getenv("TARGETTBL");
    const char* services = getenv("DEVSERVTBL");
    if (targets == nullptr || services == nullptr) {
        throw QXException(TABLES_MISSING);
    }
    const std::string text = autoForwardQuery(targets, services);
    if (!isTableName(targets) || !isTableName(services) || session.newQuery(text.c_str()) == 0) {
        throw QXException("%s%s", QUERY_FAILED, text.c_str());
    }
}

void append(OFList<StoreState::StoreDevice*>& devices, const OFString& id, const OFString& type) {
    auto device = std::make_unique<StoreState::StoreDevice>(id, type);
    devices.push_back(device.get());
    static_cast<void>(device.release());
}

} // namespace

bool isTableName(const char* name) {
    static const char ALLOWED[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_";
    return *name != '\0' && name[strspn(name, ALLOWED)] == '\0';
}

std::string autoForwardQuery(const char* targets, const char* services) {
    char text[QUERY_BUFFER];
    snprintf(text, sizeof text, "select ID, TYPE from %s, %s where SERVICE='AFwd' and ID=DEVICE", targets, services);
    return text;
}

void readAutoForwardDevices(DB_Query& session, OFList<StoreState::StoreDevice*>& devices) {
    query(session);
    while (session.nextRecord() != 0) {
        const char* id = session.getField(0);
        const char* type = session.getField(1);
        if (id != nullptr) {
            append(devices, id, type != nullptr ? type : "");
        }
    }
}

} // namespace storestate

void StoreState::addAutoForwardDevices(bool converting) {
    if (autoForwardDevices.empty()) {
        DB_Query session;
        storestate::readAutoForwardDevices(session, autoForwardDevices);
    }
    storestate::DeviceSetFiller staged(stagedDevices);
    storestate::DeviceSetFiller forward(forwardDevices);
    for (const StoreDevice* device : autoForwardDevices) {
        if (device->id.empty()) {
            continue;
        }
        if (device->type != "C" && device->type != "P") {
            forward.add(device->id);
        } else if (ownerDevice.empty() && !studyOwner) {
            ownerDevice = device->id;
        } else if (ownerDevice != device->id) {
            staged.add(device->id);
        }
    }
    if (converting && ownerDevice.empty()) {
        studyOwner = true;
    }
}

void StoreState::setAutoForwardDevice(const char* devices) {
    const OFString list(devices);
    for (size_t start = 0; start < list.length();) {
        size_t end = list.find(';', start);
        end = end == OFString_npos ? list.length() : end;
        const OFString entry = list.substr(start, end - start);
        const size_t stop = entry.find('.');
        if (stop != OFString_npos) {
            storestate::append(autoForwardDevices, entry.substr(0, stop), entry.substr(stop + 1));
        }
        start = end + 1;
    }
    addAutoForwardDevices(false);
}
