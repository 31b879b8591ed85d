#include "storestate/FreshLook.h"

#include "storestate/FileError.h"
#include "support/QXException.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <iterator>
#include <memory>
#include <sys/stat.h>
#include <sys/vfs.h>

namespace storestate {
namespace {

constexpr int FIRST_PAUSE = 10; ///< between two looks, in milliseconds; each pause is twice as long ...
constexpr int LAST_PAUSE = 640; ///< ... up to this one

/**
 * In milliseconds, when a client with default options no longer opens a file by a name that it has cached. A GlusterFS
 * client keeps names for a second, counted in whole seconds, so for up to two; the kernel may take one over at the very
 * end and keep it for another second. NFS and SMB clients ask the server at each open.
 */
constexpr int CACHES_EXPIRE = 3200;

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

bool isLocal(uint32_t fileSystem) {
    const auto* end = std::end(LOCAL_FILE_SYSTEMS);
    return std::find(std::begin(LOCAL_FILE_SYSTEMS), end, fileSystem) != end;
}

/** Sleeps for the whole time, also when signals arrive. */
void sleepFor(int milliseconds) {
    timespec left = {milliseconds / 1000, milliseconds % 1000 * 1000000L};
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

using Directory = std::shared_ptr<DIR>;

Directory openDirectory(const OFString& path) {
    errno = 0;
    DIR* directory = opendir(path.c_str());
    return directory != nullptr ? Directory(directory, closedir) : nullptr;
}

OFString parentOf(const OFString& path) {
    return path.substr(0, path.rfind('/'));
}

bool saysAbsent(int error) {
    return error == ENOENT || error == ENOTDIR;
}

/** The server does not have the file any more that a name or a descriptor stands for. */
bool saysDead(int error) {
    return error == ENOENT || error == ESTALE;
}

/** What a directory shows of a name. */
struct Listing {
    Directory directory; ///< still open
    bool listed = false;
    bool link = false;
    ino_t number = 0;
    ino_t own = 0;     ///< the directory's own number; 0: not listed
    bool dead = false; ///< the server does not have the directory any more
};

/** Whether a file system lists this number in place of the file's own. */
bool standsForNone(ino_t number) {
    return number == 0 || number == UINT32_MAX || number == static_cast<ino_t>(-1);
}

bool isLink(DIR* directory, const dirent& entry) {
    if (entry.d_type != DT_UNKNOWN) {
        return entry.d_type == DT_LNK;
    }
    struct stat status;
    return fstatat(dirfd(directory), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(status.st_mode);
}

void note(Listing& listing, DIR* directory, const dirent& entry, const char* name) {
    if (strcmp(entry.d_name, name) == 0) {
        listing.listed = true;
        listing.link = isLink(directory, entry);
        listing.number = entry.d_ino;
    } else if (strcmp(entry.d_name, ".") == 0) {
        listing.own = entry.d_ino;
    }
}

/** Reads the directory to its end: the first part alone may come from a cache. False: it failed with errno. */
bool readAll(DIR* directory, const char* name, Listing& listing) {
    errno = 0;
    for (const dirent* entry; (entry = readdir(directory)) != nullptr; errno = 0) {
        note(listing, directory, *entry, name);
    }
    return errno == 0;
}

/** Opens the directory. A client may have cached that it is missing: listing its parent makes the client ask. */
Directory openInformation(const OFString& path) {
    Directory directory = openDirectory(path);
    if (directory == nullptr && errno == ENOENT) {
        const Directory parent = openDirectory(parentOf(path));
        Listing ignored;
        if (parent != nullptr && readAll(parent.get(), "", ignored)) {
            directory = openDirectory(path);
        } else {
            errno = ENOENT;
        }
    }
    return directory;
}

Listing list(const OFString& path, const char* name) {
    Listing listing;
    listing.directory = openInformation(path);
    if (listing.directory == nullptr && saysAbsent(errno)) {
        return listing;
    }
    if (listing.directory == nullptr || !readAll(listing.directory.get(), name, listing)) {
        listing.dead = saysDead(errno);
        if (!listing.dead) {
            throwFileError(READING_FAILED, path);
        }
    }
    return listing;
}

/** What a name has led to. */
struct Sight {
    bool there = false;
    bool alive = true;    ///< otherwise the server does not have the file any more
    bool doubtful = true; ///< otherwise another look would show the same
    ino_t number = 0;     ///< 0: it does not matter which file it is
};

/** Whether the file system lists other numbers than stat(2) gives, as far as its number of the directory shows. */
bool listsOtherNumbers(const Listing& listing) {
    struct stat status;
    return listing.own != 0 && fstat(dirfd(listing.directory.get()), &status) == 0 && status.st_ino != listing.own;
}

bool agree(const Listing& listing, const Sight& sight) {
    if (listing.dead || !sight.alive) {
        return false;
    }
    const bool sameFile = sight.number == 0 || sight.number == listing.number || standsForNone(listing.number) ||
                          listsOtherNumbers(listing);
    return listing.link || (listing.listed == sight.there && (!sight.there || sameFile));
}

/** Looks without listing after everything has expired that the client had cached. */
template <class Look>
Sight lookLater(const OFString& path, Look look) {
    sleepFor(CACHES_EXPIRE);
    const Sight sight = look();
    if (!sight.there || !sight.alive) {
        throwFileError(READING_FAILED, path, ESTALE);
    }
    return sight;
}

/** Looks until listing and look agree, or two late looks do. `listed` becomes the directory of the listing that agreed.
 */
template <class Look>
Sight lookAfresh(const OFString& path, Look look, Directory* listed = nullptr) {
    const OFString directory = parentOf(path);
    const OFString name = path.substr(directory.length() + 1);
    for (int pause = FIRST_PAUSE;; pause *= 2) {
        const Listing listing = list(directory, name.c_str());
        const Sight sight = look();
        if (agree(listing, sight) || !sight.doubtful) {
            if (listed != nullptr) {
                *listed = listing.directory;
            }
            return sight;
        }
        if (pause > LAST_PAUSE) {
            break;
        }
        sleepFor(pause);
    }
    const Sight first = lookLater(path, look);
    const Sight second = lookLater(path, look);
    if (first.number != second.number) {
        throwFileError(READING_FAILED, path, ESTALE);
    }
    return second;
}

Sight openCurrent(TextFile& file, const OFString& path) {
    Sight sight;
    try {
        sight.there = file.open(path);
        if (sight.there) {
            sight.number = file.refreshedNumber();
            file.readAhead();
        }
    } catch (const QXIOException& failure) {
        if (!saysDead(failure.errorNumber)) {
            throw;
        }
        sight.there = true;
        sight.alive = false;
    }
    return sight;
}

/** What a call like stat(2) tells of a name; `unknown`: whether it counts as there if the call fails otherwise. */
Sight sightFrom(int result, bool unknown) {
    Sight sight;
    sight.there = result == 0;
    if (result != 0 && errno == ESTALE) {
        sight.there = true;
        sight.alive = false;
    } else if (result != 0 && !saysAbsent(errno)) {
        sight.there = unknown;
        sight.doubtful = false;
    }
    return sight;
}

} // namespace

bool mayBeShared(const OFString& path) {
    // The device of a shared file system: statfs(2) asks the server each time, stat(2) does not.
    static std::atomic<dev_t> sharedDevice{0};
    const dev_t known = sharedDevice;
    struct stat status;
    if (known != 0 && stat(path.c_str(), &status) == 0 && status.st_dev == known) {
        return true;
    }
    struct statfs system;
    if (statfs(path.c_str(), &system) != 0) {
        return true;
    }
    const bool shared = !isLocal(static_cast<uint32_t>(system.f_type));
    if (shared && stat(path.c_str(), &status) == 0) {
        sharedDevice = status.st_dev;
    }
    return shared;
}

bool openFresh(TextFile& file, const OFString& path, bool shared, Directory* listed) {
    if (!shared) {
        return file.open(path);
    }
    return lookAfresh(
               path, [&] { return openCurrent(file, path); }, listed)
        .there;
}

bool leadsSomewhere(const OFString& path, bool shared) {
    const auto look = [&] {
        struct stat status;
        errno = 0;
        return sightFrom(stat(path.c_str(), &status), false);
    };
    const Sight sight = shared ? lookAfresh(path, look) : look();
    return sight.there && sight.alive;
}

bool mayLeadSomewhere(const OFString& path, bool shared) {
    struct statx status;
    const bool cached = shared && statx(AT_FDCWD, path.c_str(), AT_STATX_FORCE_SYNC, STATX_TYPE, &status) == 0;
    return cached || leadsSomewhere(path, shared);
}

bool nameIsTaken(const OFString& path, bool shared) {
    const auto look = [&] {
        struct stat status;
        errno = 0;
        const int result = lstat(path.c_str(), &status);
        Sight sight = sightFrom(result, true);
        if (result == 0 && S_ISDIR(status.st_mode)) {
            sight.there = false;
            sight.doubtful = false;
        }
        return sight;
    };
    return (shared ? lookAfresh(path, look) : look()).there;
}

} // namespace storestate
