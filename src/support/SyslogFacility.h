#ifndef SUPPORT_SYSLOGFACILITY_H
#define SUPPORT_SYSLOGFACILITY_H

#include <optional>

namespace storestate {

/** The syslog number of a facility "local0" to "local7"; no value for any other name and for null. */
std::optional<int> syslogFacility(const char* name);

} // namespace storestate

#endif
