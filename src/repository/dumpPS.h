#ifndef REPOSITORY_DUMPPS_H
#define REPOSITORY_DUMPPS_H

#include "support/Export.h"

/**
 * Writes a tree of all processes with their environments to /tmp/error_ps.<process id>.txt, replacing an earlier
 * snapshot of this process. Returns when `ps` has finished. Reports no failure. Any thread may call it.
 */
extern "C" STORESTATE_EXPORT void dumpPS();

#endif
