/** What the Java methods `lock` and `unlock` do. */
#ifndef STORESTATE_STUDYLOCK_H
#define STORESTATE_STUDYLOCK_H

#include "storestate/StoreState.h"

namespace storestate {

constexpr int STUDY_LOCK_SECONDS = 30; ///< how long lockStudy() waits

/** Takes the study's lock so that it outlives the record object. Throws what QXSemaphore::lock() throws. */
inline bool lockStudy(StoreState& state) {
    state.semaphore.autoUnlock = false;
    return state.semaphore.lock(STUDY_LOCK_SECONDS);
}

/** Releases the study's lock exactly once, whoever took it. Throws what QXSemaphore::unlock() throws. */
inline bool unlockStudy(StoreState& state) {
    state.semaphore.autoUnlock = false; // a second release could remove the next holder's lock
    state.semaphore.forceUnlock = true;
    state.semaphore.unlock();
    return true;
}

} // namespace storestate

#endif
