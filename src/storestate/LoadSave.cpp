#include "storestate/DurableFile.h"
#include "storestate/FreshLook.h"
#include "storestate/RecordFormat.h"
#include "storestate/StoreState.h"
#include "storestate/StudyPaths.h"
#include "support/QXException.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr mode_t INFO_DIRECTORY_MODE = 0775;

/** True: this call created it. False: it existed. */
bool makeInfoDirectory(const OFString& path) {
    errno = 0;
    const bool made = mkdir(path.c_str(), INFO_DIRECTORY_MODE) == 0;
    if (!made && errno != EEXIST) {
        const int error = errno;
        throw QXException(1, "Could not create info directory %s [%d: %s]", path.c_str(), error, strerror(error));
    }
    return made;
}

} // namespace

using namespace storestate; // the helpers: file names, checked files, the format

bool StoreState::load() {
    requireRepository();
    loadBegun = true;
    if (useLock && !semaphore.locked) {
        semaphore.lock(LOCK_SECONDS);
    }
    if (!read()) {
        return false;
    }
    if (version <= 0) {
        convert();
    }
    recordRead = true;
    return true;
}

/** Reads the record as it is stored. False: the study has no directory or no record. */
bool StoreState::read() {
    OFString directory;
    if (!locate(directory)) {
        return false;
    }
    infoPath = infoDirectoryPath(directory);
    TextFile file;
    if (!openFresh(file, recordPath(directory), isShared(directory), &infoDirectory)) {
        return false;
    }
    RecordReader reader(*this, diagnostics);
    std::string_view line;
    while (file.next(line)) {
        reader.readLine(line);
    }
    return true;
}

std::string StoreState::textToSave() {
    if (version == 0) {
        addAutoForwardDevices(false);
        version = 1;
    }
    std::string text = formatRecord(*this);
    requireReadable(*this, text);
    return text;
}

bool StoreState::save() {
    requireRepository();
    const std::string text = textToSave();

    OFString directory;
    createStudyDirectory(directory);
    const OFString info = infoDirectoryPath(directory);
    const OFString record = recordPath(directory);
    const bool unknown = makeInfoDirectory(info) || info != infoPath; // to load()
    refuseUnreadRecord(directory);
    if (unknown) {
        infoDirectory = nullptr;
    }
    if (unknown || !recordRead) {
        DirectorySync(directory).sync(); // if a record exists, the path to it is durable
    }

    TemporaryFile temporary(record + "." + std::to_string(getpid()).c_str());
    if (!temporary.open()) {
        return false;
    }
    temporary.write(text);
    DirectorySync infoSync(info, std::move(infoDirectory)); // must be open before the rename
    temporary.moveTo(record);
    recordRead = true; // the record is now this object's own
    infoSync.sync();
    deleteLegacyList();
    release();
    return true;
}

/**
 * If load() could not read an existing record, even for a moment, save() must not overwrite it. A directory of that
 * name is not a record: the rename will fail.
 */
void StoreState::refuseUnreadRecord(const OFString& directory) {
    if (loadBegun && !recordRead && nameIsTaken(recordPath(directory), isShared(directory))) {
        throw QXException(1, "Record of study %s exists but was not read.", studyId.c_str());
    }
}

void StoreState::deleteLegacyList() {
    if (!legacyList.empty()) {
        unlink(legacyList.c_str());
        legacyList = "";
    }
}
