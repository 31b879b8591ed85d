/**
 * The repository plug-in for a plain directory tree: each study has a directory of its name in the repository root.
 *
 * It exports the two operations that the store-state records need. Both return a path that the caller frees with
 * delete[], or null. They keep no state, and any thread may call them. No identifier leads out of the root, which must
 * be readable because it is synced.
 */
#include "repository/RepositoryHandler.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t STUDY_DIRECTORY_MODE = 0775;
constexpr char INFORMATION[] = "/.info";

/** Whether this can be a study's name: a single path component that does not lead out of the root. */
bool isStudyName(const char* name) {
    return name != nullptr && *name != '\0' && strcmp(name, ".") != 0 && strcmp(name, "..") != 0 &&
           strchr(name, '/') == nullptr;
}

/** The study's path; null for a name that no study may have, and if memory runs out. */
std::unique_ptr<char[]> studyPath(const char* repository, const char* study) {
    if (repository == nullptr || *repository == '\0' || !isStudyName(study)) {
        return nullptr;
    }
    const size_t rootLength = strlen(repository);
    const size_t studySize = strlen(study) + 1;
    // Not std::nothrow: each name from a library is looked up anew whenever the plug-in is loaded.
    std::unique_ptr<char[]> path(new (std::nothrow_t{}) char[rootLength + 1 + studySize]);
    if (path != nullptr) {
        memcpy(path.get(), repository, rootLength);
        path[rootLength] = '/';
        memcpy(path.get() + rootLength + 1, study, studySize);
    }
    return path;
}

bool isDirectory(const char* path) {
    struct stat status;
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

/** Has the root's attributes refreshed, which makes an NFS client drop cached names of studies that were missing. */
void refresh(const char* repository) {
    struct statx status;
    statx(AT_FDCWD, repository, AT_STATX_FORCE_SYNC, STATX_BASIC_STATS, &status);
}

/** Whether the study has the information directory, which holds its record. */
bool hasInformation(const char* study) {
    const size_t length = strlen(study);
    const std::unique_ptr<char[]> path(new (std::nothrow_t{}) char[length + sizeof INFORMATION]);
    if (path == nullptr) {
        return false;
    }
    memcpy(path.get(), study, length);
    memcpy(path.get() + length, INFORMATION, sizeof INFORMATION);
    return isDirectory(path.get());
}

/** Makes the names in a directory survive a power cut. A file system that cannot sync directories is not a failure. */
bool syncDirectory(const char* path) {
    const int directory = open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (directory < 0) {
        return false;
    }
    const bool synced = fsync(directory) == 0 || errno == EINVAL;
    close(directory);
    return synced;
}

} // namespace

/** The study's directory; null if it does not exist. */
char* getLocation_(const char* repository, const char* fileName, void* /*opaque*/) {
    std::unique_ptr<char[]> path = studyPath(repository, fileName);
    if (path == nullptr) {
        return nullptr;
    }
    bool found = isDirectory(path.get());
    if (!found) {
        refresh(repository);
        found = isDirectory(path.get());
    }
    return found ? path.release() : nullptr;
}

/** The study's directory, created if needed; null on failure. Never creates the root itself. */
char* createDirectory_(const char* repository, const char* subDir, void* /*opaque*/, bool /*flag*/) {
    std::unique_ptr<char[]> path = studyPath(repository, subDir);
    if (path == nullptr || hasInformation(path.get())) {
        return path.release();
    }
    const bool made = mkdir(path.get(), STUDY_DIRECTORY_MODE) == 0 || errno == EEXIST;
    // Sync the root even if the directory exists: its creator may have died before the sync.
    const bool usable = made && isDirectory(path.get()) && syncDirectory(repository);
    return usable ? path.release() : nullptr;
}
