#ifndef TOOLS_RECORD_STOREDRECORD_H
#define TOOLS_RECORD_STOREDRECORD_H

#include "record/RecordText.h"
#include "storestate/StoreState.h"

#include <string>
#include <vector>

namespace storestate {

/** A study's record and legacy list as they lie there: looked at without a lock, nothing converted. */
class StoredRecord {
public:
    explicit StoredRecord(const std::string& study);

    /**
     * Finds and reads the record. False: the repository does not know the study, or it has no record. QXException: why
     * the plug-in could not say; QXIOException with errno: a file cannot be read.
     */
    bool read();

    /** Why read() was false. */
    std::string absence() const;

    /** The names of the legacy list that a conversion would take in. QXIOException with errno: it cannot be read. */
    std::vector<std::string> legacyNames() const;

    bool isEarlier() const { return state.version == 0; }

    StoreState state;
    RecordText text;
    std::string directory; ///< the study's; empty: the repository does not know it
    std::string path;      ///< the record's; empty without a directory
};

} // namespace storestate

#endif
