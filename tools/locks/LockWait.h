#ifndef TOOLS_LOCKS_LOCKWAIT_H
#define TOOLS_LOCKS_LOCKWAIT_H

#include "support/QXSemaphore.h"

#include <functional>

namespace storestate {

enum class LockWait { TAKEN, TIMED_OUT, INTERRUPTED };

/**
 * Takes the lock by single attempts, so that a signal (see Interruption) ends the wait at once. With 0 seconds or less
 * there is one attempt. `waiting` is called once, after a second in vain. QXIOException: the lock cannot be created.
 */
LockWait waitForLock(QXSemaphore& semaphore, int seconds, const std::function<void()>& waiting);

} // namespace storestate

#endif
