#ifndef STORESTATE_CONVERSION_H
#define STORESTATE_CONVERSION_H

#include <dcmtk/config/osconfig.h>
#include <dcmtk/ofstd/ofstring.h>
#include <string_view>

namespace storestate {

/** The first word of a line of the legacy forward list, a device; empty for blank lines and comments. */
OFString legacyDevice(std::string_view line);

} // namespace storestate

#endif
