#ifndef STORESTATE_AUTOFORWARD_H
#define STORESTATE_AUTOFORWARD_H

#include "db/DB_Query.h"

namespace storestate {

/**
 * Connects `session` and asks for the devices that are registered for automatic forwarding: rows of identifier and
 * type. QXException: not connected, TARGETTBL or DEVSERVTBL missing, or the query failed; as far as the database is to
 * blame, the session's `errorText` says more.
 */
void queryAutoForwardDevices(DB_Query& session);

} // namespace storestate

#endif
