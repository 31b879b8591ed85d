#include "terminal/Status.h"

#include "terminal/Text.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace storestate {

void remark(const std::string& subject, const std::string& text) {
    const char* overProgress = isTerminal(stderr) ? CLEAR_LINE : "";
    fprintf(stderr, "%sstorestate: %s: %s\n", overProgress, printable(subject).c_str(), printable(text).c_str());
}

int complain(const std::string& subject, const std::string& text, int status) {
    remark(subject, text);
    return status;
}

int combined(int before, int next) {
    if (before == STATUS_DONE || before == next) {
        return next;
    }
    return next == STATUS_DONE ? before : STATUS_FAILED;
}

bool isTerminal(FILE* stream) {
    return isatty(fileno(stream)) != 0;
}

std::string outputFault() {
    static int error = 0;
    for (FILE* stream : {stdout, stderr}) {
        errno = 0;
        const bool failed = fflush(stream) != 0;
        if (error == 0 && (failed || ferror(stream) != 0)) {
            error = errno != 0 ? errno : EIO;
        }
    }
    return error != 0 ? std::string("Writing the output failed: ") + strerror(error) : "";
}

} // namespace storestate
