/**
 * The entry points of a repository plug-in, lib/RepositoryHandler.so. A plug-in defines those that it supports. A call
 * of a missing one is reported as a failure.
 *
 * Texts are NUL-terminated. The caller owns the texts that it passes. The plug-in allocates a returned text with new[],
 * and the caller frees it, so both must share an allocator. The plug-in is loaded for each call and unloaded after it,
 * so it cannot keep state in memory. Several threads may call it at once. It reports a failure by its result or by a
 * QXException (support/QXException.h), whose message goes to the system log. It must not throw anything else: such an
 * exception passes through to the caller and keeps the plug-in loaded.
 */
#ifndef REPOSITORY_REPOSITORYHANDLER_H
#define REPOSITORY_REPOSITORYHANDLER_H

#include "support/Export.h"

#include <cstdint>

extern "C" {

/** The directory of the study `fileName` without a trailing slash; null if there is none. */
STORESTATE_EXPORT char* getLocation_(const char* repository, const char* fileName, void* opaque);

/**
 * Creates the directory of the study `subDir` if needed, so that it survives a power cut. Returns its path as
 * getLocation_() does; null on failure.
 */
STORESTATE_EXPORT char* createDirectory_(const char* repository, const char* subDir, void* opaque, bool flag);

// The library only forwards calls of the following functions. The plug-in defines their meaning.
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
