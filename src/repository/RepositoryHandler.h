/**
 * The entry points of a repository plug-in, lib/RepositoryHandler.so. A plug-in defines those that it supports; a call
 * of one that it leaves out is reported as a failure.
 *
 * Texts are NUL-terminated. Those handed over belong to the caller; those returned are allocated with new[] and belong
 * to the caller, who shares the plug-in's allocator. The plug-in is loaded for each call and unloaded after it, so it
 * keeps nothing in memory; it may be called by several threads at once. It reports a failure by its result or by
 * throwing a QXException (support/QXException.h), whose message goes to the system log. It throws nothing else: such an
 * exception would pass through to the caller and keep the plug-in loaded.
 */
#ifndef REPOSITORY_REPOSITORYHANDLER_H
#define REPOSITORY_REPOSITORYHANDLER_H

#include "support/Export.h"

#include <cstdint>

extern "C" {

/** The directory of the study `fileName`, without a separator at its end; null when there is none. */
STORESTATE_EXPORT char* getLocation_(const char* repository, const char* fileName, void* opaque);

/**
 * Makes the directory of the study `subDir` where needed, so that it survives a power cut, and returns it as
 * getLocation_() does; null when that fails.
 */
STORESTATE_EXPORT char* createDirectory_(const char* repository, const char* subDir, void* opaque, bool flag);

// The meaning of the following ones is the plug-in's own: the library passes them on and does not call them itself.
STORESTATE_EXPORT int32_t unAge_(const char* repository, const char* resource);
STORESTATE_EXPORT int32_t freeMount_(const char* repository, const char* subDirectory);
STORESTATE_EXPORT void checkOverload_(const char* repository);
STORESTATE_EXPORT void* listDirs_(const char* repository, void* opaque, bool flag);
STORESTATE_EXPORT void* listFiles_(const char* repository, void* opaque, bool flag);
STORESTATE_EXPORT int32_t removeResource_(const char* repository, const char* resource);
STORESTATE_EXPORT int32_t checkResourceStatus_(const char* repository, const char* resource);
STORESTATE_EXPORT int32_t getRepositoryStatus_(const char* repository);
STORESTATE_EXPORT void* createLocation_(const char* repository, const char* fileName, void* opaque, bool flag);
}

#endif
