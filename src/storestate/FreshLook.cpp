#include "storestate/FreshLook.h"

#include "storestate/FileError.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <dirent.h>
#include <iterator>
#include <memory>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace storestate {
namespace {

constexpr useconds_t FIRST_PAUSE = 10000; ///< in microseconds; each one is twice as long ...
constexpr useconds_t LAST_PAUSE = 640000; ///< ... up to this one

/** File systems of one machine, as statfs(2) tells them. An overlay is one: nobody else may change what it shows. */
constexpr uint32_t LOCAL_FILE_SYSTEMS[] = {
    0xEF53,     // ext2, ext3, ext4
    0x58465342, // XFS
    0x9123683E, // Btrfs
    0x2FC12FC1, // ZFS
    0xCA451A4E, // bcachefs
    0xF2F52010, // F2FS
    0x3153464A, // JFS
    0x52654973, // ReiserFS
    0x01021994, // tmpfs
    0x858458F6, // ramfs
    0x794C7630, // overlay
};

struct Listed {
    bool name = false;   ///< the name is in the directory ...
    ino_t number = 0;    ///< ... with this inode number
    bool telling = true; ///< as far as one can see, that is the number of the file that the name opens
};

/** Whether a file system lists this number in place of the file's own. */
bool standsForNone(ino_t number) {
    return number == 0 || number == UINT32_MAX || number == static_cast<ino_t>(-1);
}

/** Reads the directory to its end: what it would show first may be remembered, too. */
Listed list(const OFString& directory, const char* name) {
    Listed listed;
    errno = 0;
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(directory.c_str()), closedir);
    if (entries == nullptr && (errno == ENOENT || errno == ENOTDIR)) {
        return listed;
    }
    struct stat own;
    if (entries == nullptr || fstat(dirfd(entries.get()), &own) != 0) {
        throwFileError(READING_FAILED, directory);
    }
    errno = 0;
    for (const dirent* entry; (entry = readdir(entries.get())) != nullptr; errno = 0) {
        if (strcmp(entry->d_name, name) == 0) {
            listed.name = true;
            listed.number = entry->d_ino;
            listed.telling = listed.telling && !standsForNone(entry->d_ino) && entry->d_type != DT_LNK;
        } else if (strcmp(entry->d_name, ".") == 0) {
            listed.telling = listed.telling && entry->d_ino == own.st_ino;
        }
    }
    if (errno != 0) {
        throwFileError(READING_FAILED, directory);
    }
    return listed;
}

struct Found {
    bool file = false;
    ino_t number = 0;
    bool certain = true; ///< otherwise there is no use in looking again
};

bool agree(const Listed& listed, const Found& found) {
    return listed.name == found.file && (!found.file || listed.number == found.number || !listed.telling);
}

/** Looks until look and listing agree. */
template <class Look>
Found lookAfresh(const OFString& path, Look look) {
    const size_t slash = path.rfind('/');
    const OFString directory = path.substr(0, slash);
    const OFString name = path.substr(slash + 1);
    for (useconds_t pause = FIRST_PAUSE;; pause *= 2) {
        const Listed listed = list(directory, name.c_str());
        const Found found = look();
        if (agree(listed, found) || !found.certain) {
            return found;
        }
        if (pause > LAST_PAUSE) {
            throwFileError(READING_FAILED, path, ESTALE);
        }
        usleep(pause);
    }
}

/** Opens what the name stands for after `listed`, which the servers do not have any more, was forgotten. */
void openUnlisted(TextFile& file, const OFString& path, ino_t listed) {
    for (useconds_t pause = FIRST_PAUSE; pause <= LAST_PAUSE; pause *= 2) {
        usleep(pause);
        if (file.open(path) && file.number() != listed && file.isReadable()) {
            return;
        }
    }
    throwFileError(READING_FAILED, path, ESTALE);
}

} // namespace

bool FreshLook::isLocal(const OFString& study) {
    if (!local.has_value()) {
        struct statfs system;
        local = statfs(study.c_str(), &system) == 0 &&
                std::find(std::begin(LOCAL_FILE_SYSTEMS), std::end(LOCAL_FILE_SYSTEMS),
                          static_cast<uint32_t>(system.f_type)) != std::end(LOCAL_FILE_SYSTEMS);
    }
    return *local;
}

bool FreshLook::open(TextFile& file, const OFString& study, const OFString& path) {
    if (isLocal(study)) {
        return file.open(path);
    }
    const Found found = lookAfresh(path, [&] { return file.open(path) ? Found{true, file.number()} : Found(); });
    if (found.file && !file.isReadable()) {
        openUnlisted(file, path, found.number);
    }
    return found.file;
}

bool FreshLook::finds(const OFString& study, const OFString& path) {
    const auto look = [&]() -> Found {
        struct stat status;
        errno = 0;
        if (lstat(path.c_str(), &status) != 0) {
            const bool absent = errno == ENOENT || errno == ENOTDIR;
            return {!absent, 0, absent};
        }
        const bool file = !S_ISDIR(status.st_mode);
        return {file, status.st_ino, file};
    };
    return (isLocal(study) ? look() : lookAfresh(path, look)).file;
}

} // namespace storestate
