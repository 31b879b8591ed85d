#include "storestate/DurableFile.h"

#include "storestate/FileError.h"
#include "support/QXException.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace storestate {
namespace {

constexpr char WRITING_FAILED[] = "Writing file failed: ";

/** Writes everything, despite signals and short writes. */
bool writeAll(int file, const char* text, size_t size) {
    while (size > 0) {
        errno = 0;
        const ssize_t written = write(file, text, size);
        if (written <= 0 && errno != EINTR) {
            return false;
        }
        if (written > 0) {
            text += written;
            size -= static_cast<size_t>(written);
        }
    }
    return true;
}

} // namespace

TemporaryFile::TemporaryFile(const OFString& temporaryPath) : path(temporaryPath) {
}

TemporaryFile::~TemporaryFile() {
    if (file >= 0) {
        close(file);
    }
    if (exists) {
        unlink(path.c_str());
    }
}

bool TemporaryFile::open() {
    constexpr int FLAGS = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
    errno = 0;
    file = ::open(path.c_str(), FLAGS, 0666);
    if (file < 0 && errno == EEXIST && unlink(path.c_str()) == 0) { // left by a process that died, or a link
        file = ::open(path.c_str(), FLAGS, 0666);
    }
    exists = file >= 0;
    return exists && avoidStandardStreams();
}

/** In a process without standard streams the file must not become one: diagnostics would be written to it. */
bool TemporaryFile::avoidStandardStreams() {
    if (file <= STDERR_FILENO) {
        const int standard = file;
        file = fcntl(standard, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        close(standard);
    }
    return file >= 0;
}

void TemporaryFile::write(const std::string& text) {
    if (!writeAll(file, text.data(), text.size())) {
        throwFileError(WRITING_FAILED, path);
    }
    errno = 0;
    if (fsync(file) != 0) {
        throwFileError(WRITING_FAILED, path);
    }
    const int closing = file;
    file = -1; // a failed close() releases the descriptor, too
    errno = 0;
    if (close(closing) != 0) {
        throwFileError(WRITING_FAILED, path);
    }
}

void TemporaryFile::moveTo(const OFString& target) {
    errno = 0;
    if (rename(path.c_str(), target.c_str()) != 0) {
        const int error = errno;
        throw QXException(1, "Could not rename %s to %s [%d: %s]", path.c_str(), target.c_str(), error,
                          strerror(error));
    }
    exists = false;
}

DirectorySync::DirectorySync(const OFString& directoryPath, std::shared_ptr<DIR> openDirectory)
    : path(directoryPath), opened(std::move(openDirectory)) {
    errno = 0;
    directory = opened != nullptr ? dirfd(opened.get()) : open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (directory < 0) {
        throwFileError(WRITING_FAILED, path);
    }
}

DirectorySync::~DirectorySync() {
    if (opened == nullptr) {
        close(directory);
    }
}

void DirectorySync::sync() {
    errno = 0;
    if (fsync(directory) != 0 && errno != EINVAL) {
        throwFileError(WRITING_FAILED, path);
    }
}

} // namespace storestate
