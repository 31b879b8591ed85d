#ifndef STORESTATE_FILEERROR_H
#define STORESTATE_FILEERROR_H

#include <dcmtk/config/osconfig.h>
#include <dcmtk/ofstd/ofstring.h>

namespace storestate {

// The code of the records clears errno before each system call whose failure it reports: whoever looks at errno after
// an operation that failed finds what failed there, or 0, never what was left over from before.

constexpr char READING_FAILED[] = "Reading file failed: ";

/** Throws QXIOException with errno; the message is `what`, the path, a space and the system's text for errno. */
[[noreturn]] void throwFileError(const char* what, const OFString& path);

/** The same for an error number that was kept while errno moved on. */
[[noreturn]] void throwFileError(const char* what, const OFString& path, int error);

} // namespace storestate

#endif
