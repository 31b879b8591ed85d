/**
 * Looks at files as they are now, also where several hosts share the file system.
 *
 * A client of a shared file system caches names and attributes, for a second as a rule. Even the holder of the lock may
 * then open a record that another host has replaced, or read it up to an old size. So where a file system may be
 * shared, a look first lists the directory, which makes the client ask its server. Then it opens the file, has the
 * server refresh the attributes of the open file, and reads the first piece. The look counts if all of it fits
 * together: the name is in neither place, or the file is alive and has the inode number that was listed. Otherwise the
 * whole look is repeated, at growing intervals, for 1.3 seconds in all.
 *
 * A server may go on listing a file that has been replaced (GlusterFS, after somebody read the record while it was
 * replaced), and listing puts that dead file into the client's cache. So in the end the look waits without listing
 * until cached names have expired, opens the file, waits as long again, and opens it once more. It accepts a file that
 * is alive and the same both times. That cannot be a replaced file: a name that was cached before the wait is no longer
 * used, and a name that another listing has cached meanwhile leads to a file that the server no longer has.
 *
 * Some file systems list other numbers than stat(2) gives. If a directory's own number differs like that, or the
 * listing has no number, it is enough that the name is listed. A link is followed without comparing anything: where it
 * leads is not in the listing.
 *
 * On a file system of a single machine a look is a plain system call.
 */
#ifndef STORESTATE_FRESHLOOK_H
#define STORESTATE_FRESHLOOK_H

#include "storestate/TextFile.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/ofstd/ofstring.h>
#include <dirent.h>
#include <memory>

namespace storestate {

/**
 * Whether several hosts may share the file system of `path`: every one that is not known to be of a single machine.
 * Remembers the device of the shared file system, for all threads.
 */
bool mayBeShared(const OFString& path);

// `path` is that of a file in a study's information directory, and `shared` what mayBeShared() says of it. On a shared
// file system these throw QXIOException with errno, "Reading file failed: ...": the directory cannot be listed; ESTALE:
// what is there could not be read or confirmed.

/**
 * Opens the file. Result and other exceptions as TextFile::open(). If a listing of the file's directory agrees with the
 * file, `listed` becomes that directory, still open: opening it once more would cost another request to the server.
 */
bool openFresh(TextFile& file, const OFString& path, bool shared, std::shared_ptr<DIR>* listed = nullptr);

/** Whether the name leads to anything, as stat(2) tells; false also if stat(2) fails for another reason. */
bool leadsSomewhere(const OFString& path, bool shared);

/** The same with fewer requests to the server. True may be outdated, if a client has cached the file; false never is.
 */
bool mayLeadSomewhere(const OFString& path, bool shared);

/**
 * Whether something other than a directory has the name. True also for a link, wherever it leads, and if the look fails
 * for another reason than a missing name.
 */
bool nameIsTaken(const OFString& path, bool shared);

} // namespace storestate

#endif
