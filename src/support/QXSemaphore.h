/**
 * Mutual exclusion by name, between processes and between threads that use objects of their own.
 *
 * A semaphore is held while its lock file, lockDir + "/semaphore_" + name, exists; to take it is to create that file
 * exclusively. The file is empty and carries no owner and no time: a file that a dead process left behind keeps the
 * semaphore held until somebody removes it. All contenders must use the same directory, on a file system whose
 * exclusive creation is atomic. Waiters are not served in any order, and a semaphore that its own holder takes again
 * waits like any other.
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
     * Touches no file. An empty `lockDir` stands for the environment variable LOCK_VAR, or "." when that is unset.
     * `autoUnlock`: the destructor gives the semaphore back.
     */
    QXSemaphore(const std::string& name, const std::string& lockDir, bool autoUnlock);
    QXSemaphore(const std::string& name, bool autoUnlock);
    QXSemaphore(const QXSemaphore&) = delete;
    QXSemaphore& operator=(const QXSemaphore&) = delete;

    /** With `autoUnlock`, as unlock(); a lock that cannot be given back then stays, and nobody is told. */
    ~QXSemaphore();

    /**
     * One attempt. True: this call created the lock file. False: it exists already.
     * Throws QXIOException with errno when it cannot be created for another reason; ENAMETOOLONG for a path of
     * PATH_MAX characters and more.
     */
    bool lockResource();

    /**
     * Attempts again and again, 10 to 989 random milliseconds apart, until the semaphore is taken; then true.
     * `timeout` in seconds, at most 2147483: after that time QXTimeoutException; 0 waits for ever; a negative one makes
     * a single attempt. QXIOException as from lockResource(), at once. A failure leaves nothing held.
     */
    bool lock(int timeout);

    /**
     * Removes the lock file if this object created it, or in any case with `forceUnlock`, which is spent thereby. A
     * file that is already gone is success. Throws QXIOException with errno when it cannot be removed; the object's
     * flags are then as before.
     */
    void unlock();

    /** The lock file's path, made of `lockDir` and `name` as they are now; empty when it is too long. */
    std::string path() const;

    std::string name;
    std::string lockDir;
    bool autoUnlock;
    bool locked = false;      ///< this object created the lock file and has not removed it yet
    bool forceUnlock = false; ///< the next unlock() removes the file whoever created it
};

#endif
