#include "commands/StudyWork.h"

#include "commands/Failure.h"
#include "locks/LockFiles.h"
#include "locks/LockWait.h"
#include "process/Identity.h"
#include "storestate/StudyPaths.h"
#include "support/QXException.h"
#include "terminal/Interruption.h"
#include "terminal/Terminal.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace storestate {
namespace {

/** Whose lock it is and what to do. */
std::string obstacleText(const std::optional<LockFile>& lock) {
    return lock.has_value() ? holderText(*lock) + ", file " + lock->path +
                                  "; if that process is gone, remove it: storestate unlock " + shellWord(lock->study)
                            : "given back just now: try again";
}

} // namespace

int takeLock(StoreState& state, const Patience& patience) {
    const std::string study = state.studyId.c_str();
    switch (waitForLock(state.semaphore, patience.seconds,
                        [&] { printRemark(study, "Waiting for the lock, " + obstacleText(findLock(study))); })) {
    case LockWait::TAKEN:
        return STATUS_DONE;
    case LockWait::INTERRUPTED:
        printRemark(study, "Interrupted while waiting for the lock; nothing was changed.");
        return Interruption::status();
    default:
        return patience.putBack
                   ? PUT_BACK
                   : complain(study, "Timeout Exception: [1] Semaphore timed out: " + obstacleText(findLock(study)),
                              STATUS_TIMEOUT);
    }
}

int reportLock(const std::string& study) {
    const std::optional<LockFile> lock = findLock(study);
    return lock.has_value() ? complain(study, "The study is locked: " + obstacleText(lock), STATUS_TIMEOUT)
                            : static_cast<int>(STATUS_DONE);
}

void reportInvalidLines(const StoredRecord& record) {
    for (const std::string& line : record.text.invalidLines) {
        printRemark(record.state.studyId.c_str(), "Invalid line: " + line + " (in " + record.path + ")");
    }
}

int complainAboutUnreadable(const StudiesFound& found, const std::string& command) {
    int status = STATUS_DONE;
    for (const std::string& directory : found.unreadable) {
        status = complain(command, "Reading directory failed: " + directory, STATUS_FAILED);
    }
    return status;
}

std::string writingDirectory(const StoredRecord& record) {
    const std::string info = infoDirectoryPath(record.directory.c_str()).c_str();
    return record.directory.empty()          ? record.state.repository.c_str()
           : access(info.c_str(), F_OK) == 0 ? info
                                             : record.directory;
}

std::string accessFault(const std::string& directory, int rights) {
    return access(directory.c_str(), rights) != 0 ? directory + ": " + strerror(errno) : "";
}

int prepareWriting(const StoredRecord& record) {
    const std::string foreign = foreignPart(record.directory);
    if (!foreign.empty()) {
        return complain(record.state.studyId.c_str(), foreign, STATUS_FAILED);
    }
    const char* root = getenv("REPOSITORY_DICOM_DATA");
    fitUmask(record.path.empty() && root != nullptr ? root : record.path);
    return STATUS_DONE;
}

void saveOrThrow(StoreState& state, const StoredRecord& before) {
    errno = 0;
    if (!state.save()) {
        const int error = errno;
        throw QXIOException(error, "Creating the temporary record file failed: " + writingDirectory(before) + ": " +
                                       strerror(error));
    }
}

} // namespace storestate
