/** The paths of a study's files. */
#ifndef STORESTATE_STUDYPATHS_H
#define STORESTATE_STUDYPATHS_H

#include <dcmtk/config/osconfig.h>
#include <dcmtk/ofstd/ofstring.h>

namespace storestate {

inline OFString infoDirectoryPath(const OFString& studyDirectory) {
    return studyDirectory + "/.info";
}

inline OFString recordPath(const OFString& studyDirectory) {
    return infoDirectoryPath(studyDirectory) + "/storestate.rec";
}

/** The separate forward list of the earlier generation. */
inline OFString legacyListPath(const OFString& studyDirectory) {
    return infoDirectoryPath(studyDirectory) + "/fwds";
}

} // namespace storestate

#endif
