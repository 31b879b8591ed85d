#ifndef TOOLS_STUDIES_BULKRUN_H
#define TOOLS_STUDIES_BULKRUN_H

#include <functional>
#include <string>
#include <vector>

namespace storestate {

/**
 * Runs `work`, which returns an exit status, on one study after the other and returns the combined status. A signal
 * that was noted, or output that nobody takes, ends the run after the current study; it then names the next one. With
 * `showsProgress` a terminal shows a progress bar.
 */
int workThrough(const std::string& command, const std::vector<std::string>& studies, bool showsProgress,
                const std::function<int(const std::string& study)>& work);

} // namespace storestate

#endif
