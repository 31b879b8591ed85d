/**
 * Access to the DICOM repository through the plug-in $REPOSITORY_HANDLER_HOME/lib/RepositoryHandler.so.
 *
 * Only the plug-in knows how studies are laid out. Each function here writes a debug line to the system log, loads the
 * plug-in, calls the entry point of the same name with an underscore behind it, and unloads the plug-in. When the
 * plug-in cannot be loaded, lacks the entry point or throws a QXException, the message goes to the system log as an
 * error line after a process snapshot (dumpPS), and the function returns its failure value; the caller cannot tell that
 * from a plug-in that returns the same value. Any other exception passes through to the caller, and the plug-in then
 * stays loaded.
 *
 * Texts are NUL-terminated. Those handed over belong to the caller; those returned were allocated by the plug-in with
 * new[], and the caller frees them with delete[]. Opaque values are passed on as they are. Any thread may call any
 * function at any time.
 */
#ifndef REPOSITORY_REPOSITORYFACADE_H
#define REPOSITORY_REPOSITORYFACADE_H

#include "support/Export.h"
#include "support/QXLogger.h"

#include <cstdint>

/** Where the facade logs to, as "QXRepositoryHandlerIface". */
extern STORESTATE_EXPORT QXLogger rh_logger;

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

/** The directory of the study `fileName`, without a separator at its end; null when it is unknown, or on failure. */
STORESTATE_EXPORT char* getLocation(const char* repository, const char* fileName, void* opaque);

/** Failure value null. */
STORESTATE_EXPORT void* createLocation(const char* repository, const char* fileName, void* opaque, bool flag);

/** Makes the directory of the study `subDir` where needed and returns it as getLocation() does; null on failure. */
STORESTATE_EXPORT char* createDirectory(const char* repository, const char* subDir, void* opaque, bool flag);
}

#endif
