/**
 * Whose rights the program works with. What root writes the server can no longer read, so a run that root has started
 * goes on as the server's user: the owner of the repository's root, or whom root names.
 */
#ifndef TOOLS_PROCESS_IDENTITY_H
#define TOOLS_PROCESS_IDENTITY_H

#include <string>
#include <sys/types.h>

namespace storestate {

/**
 * Takes on the identity for good: user, groups, everything. `user`: a name or number; empty: the owner of the
 * repository's root when root has started the program, otherwise whoever has. Returns why that is not possible; empty
 * when it is done.
 */
std::string takeIdentity(const std::string& user);

/**
 * After root was given up: why the file is not to be replaced or removed because it is somebody else's. Empty: it may
 * be, or there is no such file, or root was never given up.
 */
std::string foreignOwner(const std::string& path);

/** The same of the study's directory, its information directory and its record: which of them is somebody else's. */
std::string foreignPart(const std::string& studyDirectory);

/** The umask of a process whose files have this mode: what it takes from group and others. */
mode_t fittingUmask(mode_t mode);

/** Sets the umask so that what is written at `path` has the mode of what is there or, if nothing is, of where it goes.
 */
void fitUmask(const std::string& path);

} // namespace storestate

#endif
