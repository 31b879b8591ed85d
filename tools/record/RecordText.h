/** What the text of a record tells besides its values: whether it is whole, and who wrote it. */
#ifndef TOOLS_RECORD_RECORDTEXT_H
#define TOOLS_RECORD_RECORDTEXT_H

#include <string>
#include <string_view>
#include <vector>

namespace storestate {

struct RecordText {
    std::vector<std::string> invalidLines; ///< neither blank nor comment, and without a key of a record
    std::string damage;                    ///< what is broken; empty for a record that is whole
    bool setsNothing = false;              ///< comments and blank lines only
    bool isLegible = false;                ///< a line at least has a key of a record
    bool isLater = false;                  ///< of a later version, with keys that are not known here
    int version = 0;

    /** Why the record must not be replaced as if it had been understood; empty when it has been. */
    std::string objection() const;
};

RecordText examineRecord(std::string_view text);

} // namespace storestate

#endif
