#include "support/QXSemaphore.h"

#include "support/QXException.h"

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace {

std::string chooseDirectory(const std::string& given) {
    if (!given.empty()) {
        return given;
    }
    const char* configured = getenv("LOCK_VAR");
    return configured != nullptr ? configured : ".";
}

/** Sleeps for 10 to 989 milliseconds and returns how many. An interrupted sleep counts in full. */
int32_t randomSleep() {
    const int32_t delay = 10 + static_cast<int32_t>((static_cast<int64_t>(rand()) * 980) >> 31);
    const timespec pause = {0, delay * 1000000L};
    nanosleep(&pause, nullptr);
    return delay;
}

/** Calls `work` with the lock file's path. Allocates no memory, so a lock can be released when memory runs out. */
template <class Work>
int withLockPath(const QXSemaphore& semaphore, Work work) {
    char path[PATH_MAX];
    const int length =
        snprintf(path, sizeof path, "%s/semaphore_%s", semaphore.lockDir.c_str(), semaphore.name.c_str());
    if (length < 0 || static_cast<size_t>(length) >= sizeof path) {
        errno = ENAMETOOLONG;
        return -1;
    }
    return work(path);
}

/**
 * A client of a shared file system may have cached that a name is missing in the directory. Listing makes it ask its
 * server.
 */
void listToTheEnd(const std::string& path) {
    DIR* directory = opendir(path.c_str());
    if (directory != nullptr) {
        while (readdir(directory) != nullptr) {
        }
        closedir(directory);
    }
}

[[noreturn]] void failed(const char* what, const std::string& name) {
    const int error = errno;
    throw QXIOException(error, what + name + " [" + strerror(error) + "]");
}

} // namespace

QXSemaphore::QXSemaphore(const std::string& semaphoreName, const std::string& lockDirectory, bool releaseAtEnd)
    : name(semaphoreName), lockDir(chooseDirectory(lockDirectory)), autoUnlock(releaseAtEnd) {
}

QXSemaphore::QXSemaphore(const std::string& semaphoreName, bool releaseAtEnd)
    : QXSemaphore(semaphoreName, "", releaseAtEnd) {
}

QXSemaphore::~QXSemaphore() {
    try {
        if (autoUnlock) {
            unlock();
        }
    } catch (...) {
        // A destructor cannot report it. The lock file stays, and waiters time out.
        return;
    }
}

std::string QXSemaphore::path() const {
    std::string text;
    withLockPath(*this, [&](const char* path) {
        text = path;
        return 0;
    });
    return text;
}

bool QXSemaphore::lockResource() {
    const auto create = [](const char* path) { return open(path, O_RDONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0660); };
    int file = withLockPath(*this, create);
    if (file < 0 && errno == EPERM) {
        // SFTP cannot report EEXIST. On the second attempt sshfs finds the file that another host has created.
        file = withLockPath(*this, create);
    }
    if (file >= 0) {
        close(file);
        locked = true;
        return true;
    }
    if (errno == EEXIST) {
        return false;
    }
    failed(storestate::LOCKING_FAILED, name);
}

bool QXSemaphore::lock(int timeout) {
    const bool unlimited = timeout == 0;
    int32_t remaining = timeout < 0 ? 0 : timeout * 1000;
    while (!lockResource()) {
        if (!unlimited && remaining <= 0) {
            throw QXTimeoutException(1, "Semaphore timed out");
        }
        const int32_t slept = randomSleep();
        remaining -= unlimited ? 0 : slept;
    }
    return true;
}

void QXSemaphore::unlock() {
    if (!locked && !forceUnlock) {
        return;
    }
    int result = withLockPath(*this, unlink);
    if (result != 0 && errno == ENOENT && !locked) {
        listToTheEnd(lockDir);
        result = withLockPath(*this, unlink);
    }
    if (result != 0 && errno != ENOENT) {
        failed(storestate::UNLOCKING_FAILED, name);
    }
    locked = false;
    forceUnlock = false;
}
