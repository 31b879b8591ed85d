#ifndef SUPPORT_SYSLOGFACILITY_H
#define SUPPORT_SYSLOGFACILITY_H

#include <optional>

namespace storestate {

/** The system log's number of the facility "local0" to "local7"; nothing for any other name and for null. */
std::optional<int> syslogFacility(const char* name);

} // namespace storestate

#endif
