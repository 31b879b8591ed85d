/**
 * Access to the DICOM repository through the plug-in $REPOSITORY_HANDLER_HOME/lib/RepositoryHandler.so.
 *
 * Only the plug-in knows how studies are laid out. Each function writes a debug line to the system log, loads the
 * plug-in, calls the entry point (the function's name with an underscore appended), and unloads the plug-in. If the
 * plug-in cannot be loaded, lacks the entry point or throws a QXException, the function makes a process snapshot
 * (dumpPS), writes the message to the system log as an error line, and returns its failure value. The caller cannot
 * distinguish this from a plug-in that returns the same value. Any other exception passes through to the caller; the
 * plug-in then stays loaded.
 *
 * Texts are NUL-terminated. The caller owns the texts that it passes. The plug-in allocates a returned text with new[],
 * and the caller frees it with delete[]. Opaque values are passed on unchanged. Any thread may call any function at any
 * time.
 */
#ifndef REPOSITORY_REPOSITORYFACADE_H
#define REPOSITORY_REPOSITORYFACADE_H

#include "support/Export.h"
#include "support/QXLogger.h"

#include <cstdint>

/** The facade's logger, with the identity "QXRepositoryHandlerIface". */
extern STORESTATE_EXPORT STORESTATE_NO_COPY QXLogger rh_logger;

extern "C" {

/** Failure value 0. */
STORESTATE_EXPORT int32_t unAge(const char* repository, const char* resource);

/** Failure value 127. */
STORESTATE_EXPORT int32_t freeMount(const char* repository, const char* subDirectory);

STORESTATE_EXPORT void checkOverload(const char* repository);

/** Failure value null. */
STORESTATE_EXPORT void* listDirs(const char* repository, void* opaque, bool flag);

/** Failure value null. */
STORESTATE_EXPORT void* listFiles(const char* repository, void* opaque, bool flag);

/** Failure value -1. */
STORESTATE_EXPORT int32_t removeResource(const char* repository, const char* resource);

/** Failure value -1. */
STORESTATE_EXPORT int32_t checkResourceStatus(const char* repository, const char* resource);

/** Failure value -1. */
STORESTATE_EXPORT int32_t getRepositoryStatus(const char* repository);

/** The directory of the study `fileName` without a trailing slash; null if the study is unknown, or on failure. */
STORESTATE_EXPORT char* getLocation(const char* repository, const char* fileName, void* opaque);

/** Failure value null. */
STORESTATE_EXPORT void* createLocation(const char* repository, const char* fileName, void* opaque, bool flag);

/** Creates the directory of the study `subDir` if needed. Returns its path as getLocation() does; null on failure. */
STORESTATE_EXPORT char* createDirectory(const char* repository, const char* subDir, void* opaque, bool flag);
}

#endif
