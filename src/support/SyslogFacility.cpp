#include "support/SyslogFacility.h"

#include <cstring>
#include <syslog.h>

namespace storestate {
namespace {

constexpr struct {
    const char* name;
    int number;
} FACILITIES[] = {{"local0", LOG_LOCAL0}, {"local1", LOG_LOCAL1}, {"local2", LOG_LOCAL2}, {"local3", LOG_LOCAL3},
                  {"local4", LOG_LOCAL4}, {"local5", LOG_LOCAL5}, {"local6", LOG_LOCAL6}, {"local7", LOG_LOCAL7}};

} // namespace

std::optional<int> syslogFacility(const char* name) {
    for (const auto& facility : FACILITIES) {
        if (name != nullptr && strcmp(name, facility.name) == 0) {
            return facility.number;
        }
    }
    return std::nullopt;
}

} // namespace storestate
