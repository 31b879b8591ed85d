#include "storestate/StoreState.h"

#include "repository/RepositoryFacade.h"
#include "storestate/Environment.h"
#include "storestate/FreshLook.h"
#include "storestate/StudyPaths.h"
#include "support/QXException.h"

#include <cerrno>
#include <memory>
#include <unistd.h>

namespace {

/** The current value: it may have changed since construction. */
const char* repositoryRoot() {
    return storestate::environmentValue("REPOSITORY_DICOM_DATA");
}

/** Takes over a path that the facade returned; false if it returned null. */
bool takePath(char* returned, OFString& path) {
    const std::unique_ptr<char[]> owned(returned);
    if (owned == nullptr) {
        return false;
    }
    path = owned.get();
    return true;
}

} // namespace

StoreState::StoreState(const OFString& study, const OFString& lockDirectory)
    : studyId(study), repository(repositoryRoot()),
      semaphore(std::string("storestate_") + study.c_str(), lockDirectory.c_str(), true) {
}

StoreState::~StoreState() {
    for (StoreDevice* device : autoForwardDevices) {
        delete device;
    }
}

void StoreState::requireRepository() const {
    if (repository.empty()) {
        throw QXException(1, "Missing environment: REPOSITORY_DICOM_DATA");
    }
}

bool StoreState::locate(OFString& directory) const {
    return takePath(getLocation(repositoryRoot(), studyId.c_str(), nullptr), directory);
}

void StoreState::createStudyDirectory(OFString& directory) const {
    if (!takePath(createDirectory(repositoryRoot(), studyId.c_str(), nullptr, false), directory)) {
        throw QXException(1, "Study %s could not be created in repository.", studyId.c_str());
    }
}

bool StoreState::isShared(const OFString& directory) {
    if (!shared.has_value()) {
        shared = storestate::mayBeShared(directory);
    }
    return *shared;
}

bool StoreState::exists() {
    requireRepository();
    OFString directory;
    return locate(directory) && storestate::leadsSomewhere(storestate::recordPath(directory), isShared(directory));
}

bool StoreState::mayExist() {
    requireRepository();
    OFString directory;
    return locate(directory) && storestate::mayLeadSomewhere(storestate::recordPath(directory), isShared(directory));
}

bool StoreState::remove() {
    requireRepository();
    OFString directory;
    if (!locate(directory)) {
        return false;
    }
    const OFString path = storestate::recordPath(directory);
    errno = 0;
    return unlink(path.c_str()) == 0;
}

void StoreState::release() {
    if (useLock) {
        semaphore.unlock();
    }
}
