/**
 * A repository plug-in that spreads the studies over subdirectories: the study 1.2.840.47 lies in <root>/47/1.2.840.47,
 * under the last two characters of its identifier, so that each subdirectory holds about a hundredth of the archive.
 *
 * It keeps nothing in memory and may be called by several threads at once. A missing root is reported as a QXException,
 * whose text goes to the system log.
 */
#include "repository/RepositoryHandler.h"
#include "support/QXException.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool isDirectory(const std::string& path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

void requireRoot(const std::string& root) {
    if (root.empty() || !isDirectory(root)) {
        throw QXException("Repository %s is not there", root.c_str());
    }
}

/** The directory that holds the study's own; empty for an identifier that could lead out of the root. */
std::string parentOf(const std::string& root, const std::string& study) {
    const bool usable =
        study.size() >= 2 && study.find('/') == std::string::npos && study.compare(study.size() - 2, 2, "..") != 0;
    return usable ? root + "/" + study.substr(study.size() - 2) : "";
}

/** Creates a directory if needed and makes its name in `parent` durable. */
void provide(const std::string& path, const std::string& parent) {
    const bool made = mkdir(path.c_str(), 0775) == 0;
    if (!made && errno != EEXIST) {
        const int error = errno;
        throw QXIOException(error, "Making " + path + " failed: " + strerror(error));
    }
    const int directory = open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (directory < 0 || (fsync(directory) != 0 && errno != EINVAL)) {
        const int error = errno;
        close(directory);
        throw QXIOException(error, "Syncing " + parent + " failed: " + strerror(error));
    }
    close(directory);
}

/** The caller frees it with delete[]. */
char* copyOf(const std::string& text) {
    return strcpy(new char[text.size() + 1], text.c_str());
}

} // namespace

char* getLocation_(const char* repository, const char* fileName, void* /*opaque*/) {
    requireRoot(repository);
    const std::string parent = parentOf(repository, fileName);
    const std::string path = parent + "/" + fileName;
    return !parent.empty() && isDirectory(path) ? copyOf(path) : nullptr;
}

char* createDirectory_(const char* repository, const char* subDir, void* /*opaque*/, bool /*flag*/) {
    requireRoot(repository);
    const std::string parent = parentOf(repository, subDir);
    if (parent.empty()) {
        return nullptr;
    }
    const std::string path = parent + "/" + subDir;
    provide(parent, repository);
    provide(path, parent);
    return copyOf(path);
}
