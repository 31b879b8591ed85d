/** The smallest repository plug-in: it checks whether a study's directory exists. */
#include "support/Export.h"

#include <sys/stat.h>

extern "C" STORESTATE_EXPORT bool getLocation_(const char* path) {
    struct stat status;
    return stat(path, &status) == 0;
}

extern "C" STORESTATE_EXPORT bool createDirectory_(const char* path) {
    return getLocation_(path);
}
