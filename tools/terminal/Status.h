/**
 * How the tool reports failures. Functions below the commands throw: QXException as the library does, or Failure, which
 * also names the exit status. `guarded` turns both into one line on standard error and a status.
 */
#ifndef TOOLS_TERMINAL_STATUS_H
#define TOOLS_TERMINAL_STATUS_H

#include <cstdio>
#include <stdexcept>
#include <string>

namespace storestate {

/** The program's exit status. A signal adds its number to 128. */
enum Status : int {
    STATUS_DONE = 0,
    STATUS_FAILED = 1,
    STATUS_USAGE = 2,
    STATUS_EXISTENCE = 3, ///< the record does not exist or, where it must not, exists
    STATUS_TIMEOUT = 4,   ///< another process held the lock for too long
};

/** Ends the work on a study, or a command. */
class Failure : public std::runtime_error {
public:
    explicit Failure(const std::string& text, int exitStatus = STATUS_FAILED)
        : std::runtime_error(text), status(exitStatus) {}

    int status;
};

/** Prints "storestate: <subject>: <text>" on standard error. `subject`: a study or a command. */
void remark(const std::string& subject, const std::string& text);

/** Prints the remark and returns the status. */
int complain(const std::string& subject, const std::string& text, int status = STATUS_FAILED);

/** The exit status for several studies: that of the failures if they agree, otherwise STATUS_FAILED. */
int combined(int before, int next);

constexpr char CLEAR_LINE[] = "\r\033[K";

bool isTerminal(FILE* stream);

/** Why standard output or standard error could not be written; empty if they could. */
std::string outputFault();

} // namespace storestate

#endif
