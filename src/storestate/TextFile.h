/**
 * Text files, read line by line.
 *
 * A line is returned in pieces of at most 1023 characters, and each piece counts as a separate line. An object belongs
 * to one thread and closes its file when it is destroyed.
 */
#ifndef STORESTATE_TEXTFILE_H
#define STORESTATE_TEXTFILE_H

#include <dcmtk/config/osconfig.h>
#include <dcmtk/ofstd/ofstring.h>
#include <string_view>
#include <sys/types.h>

namespace storestate {

constexpr size_t PIECE_LIMIT = 1023; ///< characters of a piece, its line feed included

/** As isspace(), for characters of either sign. */
bool isWhiteSpace(char character);

/** Removes the next piece from the front of `text`: up to and including a line feed, within the limit. */
std::string_view takePiece(std::string_view& text);

class TextFile {
public:
    TextFile() = default;
    TextFile(const TextFile&) = delete;
    TextFile& operator=(const TextFile&) = delete;
    ~TextFile();

    /**
     * False: there is no such file. QXIOException with errno: it cannot be opened for another reason. A file that was
     * opened before is closed.
     */
    bool open(const OFString& filePath);

    /**
     * The open file's inode number. First has the server refresh all of the file's attributes, because a client reads
     * only up to the size that it has cached. QXIOException with errno: that failed.
     */
    ino_t refreshedNumber() const;

    /** Reads the first part of the file into memory. QXIOException with errno: reading failed. */
    void readAhead() { fill(); }

    /**
     * Moves to the next piece, which stays valid until the next call. False: the end of the file. QXIOException with
     * errno: reading failed.
     */
    bool next(std::string_view& piece);

private:
    void closeFile();
    void fill();

    OFString path;
    int file = -1;
    char buffer[4 * (PIECE_LIMIT + 1)];
    std::string_view unread; ///< within `buffer`
    bool atEnd = false;
};

} // namespace storestate

#endif
