#ifndef STORESTATE_AUTOFORWARD_H
#define STORESTATE_AUTOFORWARD_H

#include "db/DB_Query.h"
#include "storestate/StoreState.h"

#include <string>

namespace storestate {

// How the messages of readAutoForwardDevices() begin.
constexpr char NOT_CONNECTED[] = "Error connecting to MySQL";
constexpr char TABLES_MISSING[] = "Missing environment variables:  TARGETTBL, DEVSERVTBL";
constexpr char QUERY_FAILED[] = "Error executing query: ";

/** Whether a variable may name a table so: letters, digits and underscores only, since it becomes part of the query. */
bool isTableName(const char* name);

/** The query for the devices with tables of these names; a longer text than 255 characters is cut. */
std::string autoForwardQuery(const char* targets, const char* services);

/**
 * Connects `session`, asks for the devices that are registered for automatic forwarding, and appends them to `devices`,
 * whose owner deletes them. QXException: not connected, TARGETTBL or DEVSERVTBL missing, or the query failed; as far as
 * the database is to blame, the session's `errorText` says more.
 */
void readAutoForwardDevices(DB_Query& session, OFList<StoreState::StoreDevice*>& devices);

} // namespace storestate

#endif
