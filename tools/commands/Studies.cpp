#include "bulk/StudyList.h"
#include "commands/Commands.h"
#include "commands/Failure.h"
#include "commands/StudyWork.h"
#include "terminal/Terminal.h"

namespace storestate {

int listStudies() {
    return guarded("studies", [] {
        const StudiesFound found = findStudies();
        for (const std::string& study : found.studies) {
            if (study.find('\n') == std::string::npos) { // which no list could hold
                printf("%s\n", (isTerminal(stdout) ? printable(study) : study).c_str());
            }
        }
        return complainAboutUnreadable(found, "studies");
    });
}

} // namespace storestate
