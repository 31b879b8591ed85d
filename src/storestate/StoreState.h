/**
 * The store-state record of one study: who owns it, how it is processed and staged, where it is filed, archived and
 * forwarded.
 *
 * One object serves one call on one study: construct, optionally exists(), load() once, change fields, save() once (or
 * release()), destroy. It belongs to one thread. Between load() and save() the study's lock is held, so whole
 * read-modify-write cycles exclude one another, in all processes that share the lock directory; with `useLock` cleared
 * the caller holds the lock itself. Destroying the object releases a lock that it still holds.
 *
 * The record is a text file in the study's directory, which the repository plug-in names. It is replaced completely or
 * not at all: readers find the old record or the new one. When save() has returned true, the new record survives a
 * power cut.
 *
 * Environment: REPOSITORY_DICOM_DATA (repository root), TARGETTBL and DEVSERVTBL (tables of the auto-forward devices),
 * and what QXSemaphore, DB_Query and the repository facade read.
 */
#ifndef STORESTATE_STORESTATE_H
#define STORESTATE_STORESTATE_H

#include "support/QXSemaphore.h"

#include <cstdint>
#include <cstdio>
#include <dcmtk/config/osconfig.h>
#include <dcmtk/ofstd/oflist.h>
#include <dcmtk/ofstd/ofstring.h>
#include <dcmtk/ofstd/ofuoset.h>
#include <dirent.h>
#include <memory>
#include <optional>
#include <string>

class StoreState {
public:
    /** A device that receives studies automatically. */
    class StoreDevice {
    public:
        StoreDevice(const OFString& deviceId, const OFString& deviceType) : id(deviceId), type(deviceType) {}

        OFString id;   ///< the device's identifier
        OFString type; ///< "C" and "P": candidates for the owner; any other: forward devices
    };

    /** An empty record. Touches no file. An empty `lockDirectory` leaves the choice to QXSemaphore. */
    StoreState(const OFString& studyId, const OFString& lockDirectory);
    StoreState(const StoreState&) = delete;
    StoreState& operator=(const StoreState&) = delete;

    /** Releases the study's lock if this object holds it and the semaphore's `autoUnlock` is set. */
    ~StoreState();

    // StoreState.cpp; load(), textToSave() and save() are in LoadSave.cpp

    // exists(), mayExist(), remove(), load() and save() first throw QXException, "Missing environment:
    // REPOSITORY_DICOM_DATA", if that variable was unset or empty at construction.

    /**
     * Whether the study has a record file. False also for a study that the repository does not know. Where several
     * hosts share the file system, QXIOException with errno: the information directory cannot be listed; ESTALE as in
     * load().
     */
    bool exists();

    /** As exists(), with fewer requests to a server. True may be outdated where hosts share the file system. */
    bool mayExist();

    /** Deletes the record file. False: there is none, or it cannot be deleted. */
    bool remove();

    static constexpr int LOCK_SECONDS = 20; ///< how long load() waits for the study's lock

    /**
     * Takes the study's lock unless `semaphore` holds it already, reads the record, and converts one of the earlier
     * generation. True: read. False: the study has no directory or no record; no field has changed. The lock stays held
     * either way.
     *
     * QXTimeoutException: the lock was not free for LOCK_SECONDS. QXIOException with errno: the lock file cannot be
     * created, or a file cannot be opened or read; ESTALE: several hosts share the file system, and it could not be
     * confirmed which file is the record. Also throws what convert() throws. After an exception the caller must not
     * save.
     */
    bool load();

    /**
     * The text that save() writes. A record without a version first takes over the auto-forward devices and gets
     * version 1. Writes nothing. QXException: a value cannot be stored (the message names key and study; even a loaded
     * record can have one, from the legacy list or the database); what addAutoForwardDevices() throws.
     */
    std::string textToSave();

    /**
     * Replaces the record file by textToSave() and releases the study's lock. Creates the study's directory if needed.
     *
     * True: the new record is in place and survives a power cut; a legacy list whose names it contains is deleted.
     * False: the temporary file could not be created; nothing was written, and the lock is still held.
     *
     * Each exception leaves the old record unchanged and the lock held, unless noted. QXException: what textToSave()
     * throws; a record exists although load() did not read it; a directory cannot be created; the rename failed.
     * QXIOException with errno: writing failed. If the message names the information directory, it could not be opened,
     * or it could not be synced: then the new record is in place but may not survive a power cut. Also throws what
     * QXSemaphore::unlock() throws, with the new record in place.
     */
    bool save();

    /** Releases the study's lock without saving. Throws what QXSemaphore::unlock() throws. */
    void release();

    // Conversion.cpp

    /**
     * Converts a record without version to version 1: adds the default archive device, the auto-forward devices, and
     * the names of the study's legacy forward list. In memory only; the next save() deletes the list after writing its
     * names. Does nothing if `version` is not 0.
     *
     * QXException: the repository does not know the study; what addAutoForwardDevices() throws. QXIOException with
     * errno: the list exists but cannot be read. `version` is then still 0.
     */
    void convert();

    // AutoForward.cpp

    /**
     * Merges the auto-forward devices into the record; queries the database for them unless some are known already.
     * `converting`: if the record then has no owner device, it becomes owned locally. QXException, before anything has
     * changed: the connection or the query failed.
     */
    void addAutoForwardDevices(bool converting);

    /** Adds devices of the form "<id>.<type>;<id>.<type>" to the known ones and calls addAutoForwardDevices(). */
    void setAutoForwardDevice(const char* devices);

    // RecordFormat.cpp

    /** Writes the record's lines to `stream`; neither flushes it nor reports anything. */
    void print(FILE* stream);
    void print(FILE* stream) const;

    /**
     * Scans `line` with a scanf pattern of one conversion into `value` (at least 256 bytes) and removes the double
     * quotes at its end. False: nothing was converted, and `value` is undefined.
     */
    bool readProperty(const char* line, const char* format, char* value);

    /** Inserts the names of `list`, which single spaces separate, at the end of `set`, each once. */
    void createSetFromOFString(OFUnorderedSet<OFString>& set, const OFString& list);

    OFString ownerDevice;
    OFString processMode;
    OFString stageState;
    OFString folder;
    OFString sourceDevice;
    OFString archiveDevice;
    OFUnorderedSet<OFString> stagedDevices;
    OFUnorderedSet<OFString> reportOnlyDevices; ///< never stored
    OFUnorderedSet<OFString> forwardDevices;
    OFString derived;
    bool studyOwner = false; ///< owned locally rather than by `ownerDevice`
    bool retrieved = false;
    bool dontEdit = false;
    bool dontDelete = false;
    int32_t version = 0; ///< 0: a new record, or one of the earlier generation
    OFString studyId;
    OFString sourceStudy;
    OFString repository; ///< REPOSITORY_DICOM_DATA at construction
    QXSemaphore semaphore;
    OFList<StoreDevice*> autoForwardDevices; ///< owned
    bool useLock = true;                     ///< load(), save() and release() use `semaphore`
    FILE* diagnostics = stderr;              ///< where lines without a known key are reported; null: nowhere

private:
    void requireRepository() const;
    bool locate(OFString& directory) const;
    bool read();
    bool isShared(const OFString& directory);
    void createStudyDirectory(OFString& directory) const;
    void refuseUnreadRecord(const OFString& directory);
    void deleteLegacyList();

    std::optional<bool> shared;         ///< whether several hosts may share the study's file system; set on first use
    OFString legacyList;                ///< path of the list that convert() has read and the next save() deletes
    OFString infoPath;                  ///< where load() looked; save() may find that the plug-in names another place
    std::shared_ptr<DIR> infoDirectory; ///< the same, open since load() listed it, until save() syncs it
    bool loadBegun = false;             ///< load() was called
    bool recordRead = false;            ///< load() has read the whole record, or save() has replaced it
};

#endif
