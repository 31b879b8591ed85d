/** What the commands that work on a study's record or lock have in common. */
#ifndef TOOLS_COMMANDS_STUDYWORK_H
#define TOOLS_COMMANDS_STUDYWORK_H

#include "bulk/BulkRun.h"
#include "bulk/StudyList.h"
#include "record/StoredRecord.h"
#include "storestate/StoreState.h"

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

/** Why nothing can be written in the directory; empty when something can. */
std::string writingFault(const std::string& directory);

/** Which part of the study belongs to somebody else; empty when none does. */
std::string foreignPart(const StoredRecord& record);

/** Whose the study is permits to write it; makes new files fit to it. Returns STATUS_DONE or the exit status. */
int prepareWriting(const StoredRecord& record);

/** Saves the record; also its one failure without an exception becomes one. */
void saveOrThrow(StoreState& state);

} // namespace storestate

#endif
