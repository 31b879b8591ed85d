/**
 * Marks what libstorestate.so exports. All other symbols have hidden visibility. src/exports.map lists the exports; a
 * change there changes what plug-ins and programs are built against.
 */
#ifndef SUPPORT_EXPORT_H
#define SUPPORT_EXPORT_H

#define STORESTATE_EXPORT __attribute__((visibility("default")))

/**
 * Marks an exported variable that must exist once. A program normally gets a copy of a variable that it uses, and the
 * library would not see that copy. Without this attribute, only code built with -fPIC is sure to use the original.
 */
#if __has_attribute(nodirect_extern_access)
#define STORESTATE_NO_COPY __attribute__((nodirect_extern_access))
#else
#define STORESTATE_NO_COPY
#endif

#endif
