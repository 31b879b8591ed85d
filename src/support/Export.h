/**
 * Marks what libstorestate.so exports. Everything else is compiled with hidden visibility; the whole list stands in
 * src/exports.map, and a change of either is a change of what plug-ins and programs are built against.
 */
#ifndef SUPPORT_EXPORT_H
#define SUPPORT_EXPORT_H

#define STORESTATE_EXPORT __attribute__((visibility("default")))

#endif
