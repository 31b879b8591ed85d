/**
 * Adds names to a device set, each once. The set itself looks through all its names for every question; from a few
 * dozen names on an index answers instead, so that a list of thousands is read in one go.
 *
 * While a filler is in use nobody else changes its set.
 */
#ifndef STORESTATE_DEVICESETFILLER_H
#define STORESTATE_DEVICESETFILLER_H

#include <dcmtk/config/osconfig.h>
#include <dcmtk/ofstd/ofstring.h>
#include <dcmtk/ofstd/ofuoset.h>
#include <forward_list>
#include <memory_resource>
#include <string_view>
#include <unordered_set>

namespace storestate {

class DeviceSetFiller {
public:
    explicit DeviceSetFiller(OFUnorderedSet<OFString>& devices);

    /** Inserts `name` at the end of the set unless the set has it already. */
    void add(const OFString& name);

    /** Adds the non-empty pieces of `list` between single spaces. */
    void addList(const OFString& list);

    bool fills(const OFUnorderedSet<OFString>& devices) const { return &set == &devices; }

private:
    bool contains(const OFString& name);

    OFUnorderedSet<OFString>& set;
    std::pmr::monotonic_buffer_resource memory;      ///< of the index: taken in big pieces, given back at once
    std::pmr::unordered_set<std::string_view> index; ///< views of the set's own names, of the first so many of them
};

/** The fillers of several sets, each made when it is first asked for. */
class DeviceSetFillers {
public:
    DeviceSetFiller& of(OFUnorderedSet<OFString>& devices);

private:
    std::forward_list<DeviceSetFiller> fillers;
};

} // namespace storestate

#endif
