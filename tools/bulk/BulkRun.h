#ifndef TOOLS_BULK_BULKRUN_H
#define TOOLS_BULK_BULKRUN_H

#include <functional>
#include <string>
#include <vector>

namespace storestate {

/** What work on a study does when it finds the study locked. */
struct Patience {
    int seconds;  ///< how long it waits
    bool putBack; ///< it then returns PUT_BACK and says nothing: the study comes round again
};

constexpr int PUT_BACK = -1;

/** Works on one study; returns an exit status, or PUT_BACK. */
using StudyWork = std::function<int(const std::string& study, const Patience& patience)>;

struct BulkRun {
    std::string command;
    int lockSeconds = 0; ///< how long the studies that stay locked are waited for at the end, all together
    bool showsProgress = false;
};

/**
 * Works on the studies one after the other and returns the combined exit status. A signal, or output that nobody takes,
 * ends it after the study in hand; it then says where to go on.
 */
int workThrough(const BulkRun& run, const std::vector<std::string>& studies, const StudyWork& work);

} // namespace storestate

#endif
