#ifndef TOOLS_STUDIES_BULKRUN_H
#define TOOLS_STUDIES_BULKRUN_H

#include <functional>
#include <string>
#include <vector>

namespace storestate {

/**
 * Runs `work`, which returns an exit status, on one study after the other and returns the combined status. A signal
 * that was noted, or output that cannot be written, ends the run after the current study; the next one is then
 * reported. With `showsProgress` the counts are shown on a terminal.
 */
int forEachStudy(const std::string& command, const std::vector<std::string>& studies, bool showsProgress,
                 const std::function<int(const std::string& study)>& work);

} // namespace storestate

#endif
