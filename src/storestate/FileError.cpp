#include "storestate/FileError.h"

#include "support/QXException.h"

#include <cerrno>
#include <cstring>
#include <string>

namespace storestate {

void throwFileError(const char* what, const OFString& path) {
    throwFileError(what, path, errno);
}

void throwFileError(const char* what, const OFString& path, int error) {
    throw QXIOException(error, std::string(what) + path.c_str() + " " + strerror(error));
}

} // namespace storestate
