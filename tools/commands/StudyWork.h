/** What the commands that work on a study's record or lock have in common. */
#ifndef TOOLS_COMMANDS_STUDYWORK_H
#define TOOLS_COMMANDS_STUDYWORK_H

#include "bulk/BulkRun.h"
#include "bulk/StudyList.h"
#include "record/StoredRecord.h"
#include "storestate/StoreState.h"

#include <unistd.h>

namespace storestate {

/**
 * Takes the lock of the record's study, which `state` then gives back as ever. Returns STATUS_DONE, or says whose lock
 * is in the way and returns the exit status, or PUT_BACK. Throws as QXSemaphore::lockResource().
 */
int takeLock(StoreState& state, const Patience& patience);

/** Says whose lock would be in the way of a call now; STATUS_DONE: nobody's. */
int reportLock(const std::string& study);

/** Says which lines of the record have no meaning. */
void reportInvalidLines(const StoredRecord& record);

/** Names the directories that nobody could look into; returns the exit status. */
int complainAboutUnreadable(const StudiesFound& found, const std::string& command);

/** Where a save would begin to write: the deepest of the study's directories that is there, or the root. */
std::string writingDirectory(const StoredRecord& record);

/** Why the program lacks these rights (as access() takes them) to the directory; empty when it has them. */
std::string accessFault(const std::string& directory, int rights);

constexpr int TO_LOCK = W_OK | X_OK;        ///< in the lock directory
constexpr int TO_SAVE = R_OK | W_OK | X_OK; ///< in a study's; what is written there is synced, for which it is opened

/** Whose the study is permits to write it; makes new files fit to it. Returns STATUS_DONE or the exit status. */
int prepareWriting(const StoredRecord& record);

/** Saves the record; also its one failure without an exception becomes one. */
void saveOrThrow(StoreState& state, const StoredRecord& before);

} // namespace storestate

#endif
