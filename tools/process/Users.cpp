#include "process/Users.h"

#include <pwd.h>

namespace storestate {

std::string userName(uid_t user) {
    const passwd* entry = getpwuid(user);
    return entry != nullptr ? entry->pw_name : std::to_string(user);
}

} // namespace storestate
