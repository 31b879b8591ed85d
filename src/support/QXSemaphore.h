/**
 * Mutual exclusion by name between processes, and between threads that use separate objects.
 *
 * A semaphore is held while its lock file, lockDir + "/semaphore_" + name, exists. It is taken by exclusive creation of
 * that file. The file is empty and records neither owner nor time. If its creator dies, the semaphore stays held until
 * somebody removes the file. All contenders must use the same directory, on a file system with atomic exclusive
 * creation. Waiters are not served in any order. The semaphore is not re-entrant: its holder waits like all others.
 *
 * An object belongs to one thread at a time.
 */
#ifndef SUPPORT_QXSEMAPHORE_H
#define SUPPORT_QXSEMAPHORE_H

#include <string>

namespace storestate {

// How the messages of QXSemaphore's QXIOException begin; the semaphore's name and the system's error text follow.
constexpr char LOCKING_FAILED[] = "Creating semaphore failed: ";
constexpr char UNLOCKING_FAILED[] = "Releasing semaphore failed: ";

} // namespace storestate

class QXSemaphore {
public:
    /**
     * Touches no file. An empty `lockDir` stands for the environment variable LOCK_VAR, or "." if that is unset.
     * `autoUnlock`: the destructor releases the semaphore.
     */
    QXSemaphore(const std::string& name, const std::string& lockDir, bool autoUnlock);
    QXSemaphore(const std::string& name, bool autoUnlock);
    QXSemaphore(const QXSemaphore&) = delete;
    QXSemaphore& operator=(const QXSemaphore&) = delete;

    /** With `autoUnlock` calls unlock() and ignores a failure: the lock file then stays. */
    ~QXSemaphore();

    /**
     * Makes one attempt. True: this call created the lock file. False: the file exists already.
     * Throws QXIOException with errno if the file cannot be created for another reason; ENAMETOOLONG if its path has
     * PATH_MAX characters or more.
     */
    bool lockResource();

    /**
     * Repeats the attempt after random pauses of 10 to 989 milliseconds until the semaphore is taken; returns true.
     * `timeout` is in seconds, at most 2147483. When it has passed, QXTimeoutException is thrown. With 0 there is no
     * limit; with a negative value there is one attempt. A QXIOException of lockResource() is not retried. After a
     * failure this object does not hold the semaphore.
     */
    bool lock(int timeout);

    /**
     * Removes the lock file if this object created it, or in any case with `forceUnlock`, which is cleared by success.
     * A missing file is success; but if this object did not create it, possibly another host did, so the lock directory
     * is listed and the removal tried once more. Throws QXIOException with errno if the file cannot be removed; the
     * object's flags are then as before.
     */
    void unlock();

    /** The lock file's path, from the current values of `lockDir` and `name`; empty if it is too long. */
    std::string path() const;

    std::string name;
    std::string lockDir;
    bool autoUnlock;
    bool locked = false;      ///< this object created the lock file and has not removed it yet
    bool forceUnlock = false; ///< the next unlock() removes the file whoever created it
};

#endif
