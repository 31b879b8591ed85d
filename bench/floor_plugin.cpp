/** The least that a repository plug-in can be: it looks whether a study's directory is there. */
#include "support/Export.h"

#include <sys/stat.h>

extern "C" STORESTATE_EXPORT bool getLocation_(const char* path) {
    struct stat status;
    return stat(path, &status) == 0;
}

extern "C" STORESTATE_EXPORT bool createDirectory_(const char* path) {
    return getLocation_(path);
}
