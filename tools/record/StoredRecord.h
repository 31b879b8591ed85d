#ifndef TOOLS_RECORD_STOREDRECORD_H
#define TOOLS_RECORD_STOREDRECORD_H

#include "storestate/StoreState.h"

#include <string>
#include <string_view>
#include <vector>

namespace storestate {

/** What is wrong with the text of a record. */
struct RecordText {
    std::vector<std::string> invalidLines; ///< neither blank nor comment, and without a key of a record
    std::string damage;                    ///< a sentence; empty if the record is not damaged
};

/** Reads the text into `state`, without diagnostics. */
RecordText readRecord(std::string_view text, StoreState& state);

/** A study's record and legacy list as they are stored: read without a lock, nothing converted. */
class StoredRecord {
public:
    explicit StoredRecord(const std::string& study);

    /**
     * Finds and reads the record. False: the repository does not know the study, or it has no record. QXException: the
     * plug-in failed; QXIOException with errno: the file cannot be read.
     */
    bool read();

    /** Calls read() and throws a Failure with STATUS_EXISTENCE if there is no record. */
    void require();

    /** Why read() was false. */
    std::string absence() const;

    /** Reports the invalid lines on standard error. */
    void reportInvalidLines() const;

    /** The names of the legacy list that a conversion adds. QXIOException with errno: it cannot be read. */
    std::vector<std::string> legacyNames() const;

    /** Where a save would write first: the deepest of the study's directories that exists, or the repository's root. */
    std::string writingDirectory() const;

    /** Throws QXIOException with errno: the temporary file of a save could not be created. */
    [[noreturn]] void throwNotCreated() const;

    bool isEarlier() const { return state.version == 0; }

    StoreState state;
    RecordText text;
    std::string directory; ///< the study's; empty: the repository does not know it
    std::string path;      ///< the record's; empty without a directory
};

} // namespace storestate

#endif
