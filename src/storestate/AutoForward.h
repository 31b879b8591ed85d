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

/** Whether this may be a table's name: only letters, digits and underscores, since it becomes part of the query. */
bool isTableName(const char* name);

/** The query for the devices, cut to 255 characters. */
std::string autoForwardQuery(const char* targets, const char* services);

/**
 * Connects `session`, queries the devices that are registered for automatic forwarding, and appends them to `devices`,
 * whose owner deletes them. QXException: not connected, TARGETTBL or DEVSERVTBL missing, or the query failed. If the
 * database is the cause, the session's `errorText` says more.
 */
void readAutoForwardDevices(DB_Query& session, OFList<StoreState::StoreDevice*>& devices);

} // namespace storestate

#endif
