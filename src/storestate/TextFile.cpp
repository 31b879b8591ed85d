#include "storestate/TextFile.h"

#include "storestate/FileError.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace storestate {

bool isWhiteSpace(char character) {
    return isspace(static_cast<unsigned char>(character)) != 0;
}

std::string_view takePiece(std::string_view& text) {
    const size_t lineFeed = text.substr(0, PIECE_LIMIT).find('\n');
    const std::string_view piece = text.substr(0, lineFeed == std::string_view::npos ? PIECE_LIMIT : lineFeed + 1);
    text.remove_prefix(piece.size());
    return piece;
}

TextFile::~TextFile() {
    closeFile();
}

void TextFile::closeFile() {
    if (file >= 0) {
        close(file);
    }
}

bool TextFile::open(const OFString& filePath) {
    closeFile();
    unread = {};
    atEnd = false;
    path = filePath;
    errno = 0;
    file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0 && errno != ENOENT) {
        throwFileError(OPENING_FAILED, path);
    }
    return file >= 0;
}

ino_t TextFile::refreshedNumber() const {
    struct statx status;
    errno = 0;
    if (statx(file, "", AT_EMPTY_PATH | AT_STATX_FORCE_SYNC, STATX_BASIC_STATS, &status) != 0) {
        throwFileError(READING_FAILED, path);
    }
    return static_cast<ino_t>(status.stx_ino);
}

/** Appends a piece of the file to the unread text; sets `atEnd` at the end of the file. */
void TextFile::fill() {
    std::copy(unread.begin(), unread.end(), buffer);
    ssize_t count;
    do {
        errno = 0;
        count = read(file, buffer + unread.size(), sizeof buffer - unread.size());
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        throwFileError(READING_FAILED, path);
    }
    atEnd = count == 0;
    unread = {buffer, unread.size() + static_cast<size_t>(count)};
}

bool TextFile::next(std::string_view& piece) {
    while (!atEnd && unread.size() < PIECE_LIMIT && unread.find('\n') == std::string_view::npos) {
        fill();
    }
    piece = takePiece(unread);
    return !piece.empty();
}

} // namespace storestate
