#include "storestate/DeviceSetFiller.h"

namespace storestate {
namespace {

constexpr unsigned int INDEX_FROM = 32; ///< with fewer names a linear search is faster than an index

std::string_view view(const OFString& name) {
    return {name.c_str(), name.length()};
}

} // namespace

DeviceSetFiller::DeviceSetFiller(OFUnorderedSet<OFString>& devices) : set(devices), index(&memory) {
}

bool DeviceSetFiller::contains(const OFString& name) {
    const unsigned int count = set.NumberOfElements();
    if (count < INDEX_FROM) {
        return set.Contains(name);
    }
    for (auto known = static_cast<unsigned int>(index.size()); known < count; ++known) {
        index.insert(view(set[known]));
    }
    return index.count(view(name)) != 0;
}

void DeviceSetFiller::add(const OFString& name) {
    if (!contains(name)) {
        set.Insert(name);
    }
}

void DeviceSetFiller::addList(const OFString& list) {
    size_t start = 0;
    while (start < list.length()) {
        size_t end = list.find(' ', start);
        end = end == OFString_npos ? list.length() : end;
        if (end > start) {
            add(list.substr(start, end - start));
        }
        start = end + 1;
    }
}

DeviceSetFiller& DeviceSetFillers::of(OFUnorderedSet<OFString>& devices) {
    for (DeviceSetFiller& filler : fillers) {
        if (filler.fills(devices)) {
            return filler;
        }
    }
    return fillers.emplace_front(devices);
}

} // namespace storestate
