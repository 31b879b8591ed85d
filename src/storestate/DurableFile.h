/**
 * Writes that survive a power cut.
 *
 * Every step is checked. A failed sync is never repeated: the kernel may have dropped the data by then.
 */
#ifndef STORESTATE_DURABLEFILE_H
#define STORESTATE_DURABLEFILE_H

#include <dcmtk/config/osconfig.h>
#include <dcmtk/ofstd/ofstring.h>
#include <dirent.h>
#include <memory>
#include <string>

namespace storestate {

/**
 * A file that is written beside its target and then moved over it. Before the move the destructor deletes the file, so
 * that a failure leaves nothing behind. After the move it never touches the name again.
 */
class TemporaryFile {
public:
    explicit TemporaryFile(const OFString& temporaryPath);
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile();

    /** Creates the file. Deletes what has its name, unless that is a directory. False: it failed, with errno. */
    bool open();

    /** Writes all of `text`, syncs and closes. QXIOException with errno: "Writing file failed: ...". */
    void write(const std::string& text);

    /** Moves the file over `target`. QXException: "Could not rename ...". */
    void moveTo(const OFString& target);

private:
    bool avoidStandardStreams();

    OFString path;
    int file = -1;
    bool exists = false; ///< under its temporary name
};

/**
 * Makes the names in a directory durable. It takes two steps so that a directory that cannot be opened is noticed
 * before anything changes.
 */
class DirectorySync {
public:
    /**
     * Opens the directory, which must be readable, unless `opened` is that directory, opened before. QXIOException with
     * errno: "Writing file failed: ...".
     */
    explicit DirectorySync(const OFString& directoryPath, std::shared_ptr<DIR> opened = nullptr);
    DirectorySync(const DirectorySync&) = delete;
    DirectorySync& operator=(const DirectorySync&) = delete;
    ~DirectorySync();

    /** Syncs it. A file system that cannot sync directories is not a failure. QXIOException as above. */
    void sync();

private:
    OFString path;
    std::shared_ptr<DIR> opened; ///< owns `directory`; if null, the destructor closes it
    int directory;
};

} // namespace storestate

#endif
