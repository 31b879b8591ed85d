/** `storestate`, the operator's tool. */
#include "commandline/CommandLine.h"
#include "terminal/Terminal.h"

#include <clocale>
#include <csignal>

namespace {

int run(const storestate::Words& words) {
    try {
        return storestate::runCommandLine(words);
    } catch (const std::exception& failure) {
        storestate::printRemark("storestate", failure.what());
        return storestate::failureStatus(words, storestate::STATUS_FAILED);
    }
}

} // namespace

int main(int argc, char** argv) {
    setlocale(LC_CTYPE, "");
    signal(SIGPIPE, SIG_IGN); // a lock would stay; writing fails instead
    const storestate::Words words(argv + 1, argv + argc);
    const int status = run(words);
    const std::string fault = storestate::outputFault();
    if (!fault.empty()) {
        storestate::printRemark("storestate", fault);
        return storestate::failureStatus(words, storestate::STATUS_FAILED);
    }
    return status;
}
