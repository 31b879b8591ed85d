#include "repository/dumpPS.h"

#include <cstdio>
#include <unistd.h>

void dumpPS() {
    char command[64];
    snprintf(command, sizeof command, "ps --forest eax > /tmp/error_ps.%d.txt", static_cast<int>(getpid()));
    FILE* ps = popen(command, "r");
    if (ps != nullptr) {
        pclose(ps);
    }
}
