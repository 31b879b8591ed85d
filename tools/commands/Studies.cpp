#include "commands/Commands.h"
#include "studies/StudyList.h"
#include "terminal/Status.h"
#include "terminal/Text.h"

namespace storestate {

int listStudies() {
    const StudyWalk walk = walkStudies();
    int status = STATUS_DONE;
    for (const std::string& study : walk.studies) {
        if (study.find('\n') != std::string::npos) {
            status = complain("studies", study + ": a list cannot hold this name, which has a line feed in it");
        } else {
            printf("%s\n", (isTerminal(stdout) ? printable(study) : study).c_str());
        }
    }
    for (const std::string& fault : walk.unreadable) {
        status = complain("studies", fault);
    }
    return status;
}

} // namespace storestate
