#ifndef REPOSITORY_DUMPPS_H
#define REPOSITORY_DUMPPS_H

#include "support/Export.h"

/**
 * Writes what runs on this machine, as a tree and with each process's environment, to /tmp/error_ps.<process id>.txt,
 * over an earlier snapshot of the same process. Returns when `ps` has finished; reports nothing, not even a failure.
 * Any thread may call it.
 */
extern "C" STORESTATE_EXPORT void dumpPS();

#endif
