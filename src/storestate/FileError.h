#ifndef STORESTATE_FILEERROR_H
#define STORESTATE_FILEERROR_H

#include <dcmtk/config/osconfig.h>
#include <dcmtk/ofstd/ofstring.h>

namespace storestate {

// The code in this folder clears errno before each system call whose failure it reports. After a failure errno is
// therefore the error of that call or 0, never an older error.

constexpr char OPENING_FAILED[] = "Opening file for reading failed: ";
constexpr char READING_FAILED[] = "Reading file failed: ";

/** Throws QXIOException with errno; the message is `what`, the path, a space and the system's text for errno. */
[[noreturn]] void throwFileError(const char* what, const OFString& path);

/** The same for an error number that was saved before errno changed. */
[[noreturn]] void throwFileError(const char* what, const OFString& path, int error);

} // namespace storestate

#endif
