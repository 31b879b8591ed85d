#ifndef TOOLS_PROCESS_USERS_H
#define TOOLS_PROCESS_USERS_H

#include <string>
#include <sys/types.h>

namespace storestate {

/** The user's name, or the number of a user without one. */
std::string userName(uid_t user);

} // namespace storestate

#endif
