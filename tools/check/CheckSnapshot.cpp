#include "check/CheckReport.h"

#include <sstream>
#include <unistd.h>

namespace storestate {

/** As the shell finds `ps`, which writes the snapshots. */
void checkSnapshot(CheckReport& report) {
    std::istringstream path(setting("PATH"));
    for (std::string directory; std::getline(path, directory, ':');) {
        const std::string program = directory + "/ps";
        if (access(program.c_str(), X_OK) == 0) {
            report.good("ps", program);
            return;
        }
    }
    report.note("ps", "missing: the process snapshots after a failure of the plug-in are empty",
                "install procps, or see to the PATH");
}

} // namespace storestate
