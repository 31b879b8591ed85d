/**
 * Adds many names to a device set, each once. The set searches linearly; from a few dozen names on the filler uses an
 * index, so that reading a list of thousands takes linear time.
 *
 * While a filler is in use, nothing else may change its set.
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

    /** Inserts `name` at the end of the set unless the set contains it. */
    void add(const OFString& name);

    /** Adds the non-empty pieces of `list` between single spaces. */
    void addList(const OFString& list);

    bool fills(const OFUnorderedSet<OFString>& devices) const { return &set == &devices; }

private:
    bool contains(const OFString& name);

    OFUnorderedSet<OFString>& set;
    std::pmr::monotonic_buffer_resource memory;      ///< of the index, freed as a whole
    std::pmr::unordered_set<std::string_view> index; ///< views of the first names of the set
};

/** The fillers of several sets, each made on first use. */
class DeviceSetFillers {
public:
    DeviceSetFiller& of(OFUnorderedSet<OFString>& devices);

private:
    std::forward_list<DeviceSetFiller> fillers;
};

} // namespace storestate

#endif
