/** `storestate`, the operator's tool. */
#include "commandline/CommandLine.h"
#include "repository/dumpPS.h"

#include <clocale>
#include <csignal>

/**
 * The linker redirects the library's calls of dumpPS() to this function: the tool takes no process snapshot. It reports
 * the cause of a failure itself, and a snapshot shows the environments of all processes that its caller may see.
 */
extern "C" void __wrap_dumpPS();
void __wrap_dumpPS() {
}

int main(int argc, char** argv) {
    setlocale(LC_CTYPE, "C.UTF-8"); // names are UTF-8, also under cron
    signal(SIGPIPE, SIG_IGN);       // writing fails instead of ending the program, which would leave its lock
    signal(SIGXFSZ, SIG_IGN);
    return storestate::runCommandLine({argv + 1, argv + argc});
}
