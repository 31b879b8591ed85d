/**
 * Looks at names as they are now, also where several hosts share the file system.
 *
 * A client of a cluster file system remembers names: for a second as a rule, one that another host has replaced still
 * leads to the old file, even for the holder of the lock. To list a directory makes such a client ask its server. So a
 * look there first lists the directory, and counts only if it fits the listing: no name in either, or the same file in
 * both, told by its inode number. Otherwise it is repeated, at growing intervals, for 1.3 seconds in all.
 *
 * Some file systems list other numbers than stat(2) tells. Where that is certain, because a directory's own numbers
 * differ so, or because no number is listed at all, it is enough that the name is listed. So it is for a link.
 *
 * A server, too, may list a file that another one has long replaced (GlusterFS, when somebody looks at a name just
 * while it is replaced). Nobody can read that file any more; then what the name opens once the client has forgotten it
 * is the right one. To look at a record without its lock is what may bring this about.
 *
 * On a file system of this machine alone the names are what they are, and a look costs no more than one statfs(2) for
 * each object. What is not known to be such a file system counts as shared. An object belongs to one thread.
 */
#ifndef STORESTATE_FRESHLOOK_H
#define STORESTATE_FRESHLOOK_H

#include "storestate/TextFile.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/ofstd/ofstring.h>
#include <optional>

namespace storestate {

class FreshLook {
public:
    // `study` is the study's directory, and `path` that of a file in its information directory. Both throw
    // QXIOException with errno, "Reading file failed: ...": the directory cannot be listed; ESTALE: look and listing
    // never agreed.

    /** Opens the file. Result and other exceptions as TextFile::open(). */
    bool open(TextFile& file, const OFString& study, const OFString& path);

    /** Whether `study` lies on a file system of this machine alone. */
    bool isLocal(const OFString& study);

    /** Whether the file is there. So is a link, wherever it leads, and what cannot be told; a directory is not. */
    bool finds(const OFString& study, const OFString& path);

private:
    std::optional<bool> local; ///< once it was asked
};

} // namespace storestate

#endif
