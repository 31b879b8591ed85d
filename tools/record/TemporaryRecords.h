#ifndef TOOLS_RECORD_TEMPORARYRECORDS_H
#define TOOLS_RECORD_TEMPORARYRECORDS_H

#include <string>
#include <vector>

namespace storestate {

/** Paths of the temporary files beside a study's record: of calls at work, or left by processes that died. */
std::vector<std::string> temporaryRecords(const std::string& studyDirectory);

} // namespace storestate

#endif
