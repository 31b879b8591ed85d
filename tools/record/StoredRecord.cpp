#include "record/StoredRecord.h"

#include "diagnosis/PluginDiagnosis.h"
#include "files/Files.h"
#include "storestate/Conversion.h"
#include "storestate/FileError.h"
#include "storestate/FreshLook.h"
#include "storestate/RecordFormat.h"
#include "storestate/StudyPaths.h"
#include "storestate/TextFile.h"
#include "support/QXException.h"
#include "terminal/Status.h"

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace storestate {
namespace {

/** False: there is no such file. */
bool readFile(const OFString& directory, const OFString& path, std::string& text) {
    struct stat status;
    if (stat(path.c_str(), &status) == 0) {
        const std::string denied = accessFault(path.c_str(), R_OK);
        const std::string fault = S_ISFIFO(status.st_mode) ? std::string(path.c_str()) + " is a FIFO" : denied;
        if (!fault.empty()) {
            throw QXException(1, OPENING_FAILED + fault);
        }
    }
    TextFile file;
    if (!openFresh(file, path, mayBeShared(directory))) {
        return false;
    }
    for (std::string_view piece; file.next(piece);) {
        text += piece;
    }
    return true;
}

std::string trimmed(std::string_view line) {
    while (!line.empty() && isWhiteSpace(line.front())) {
        line.remove_prefix(1);
    }
    while (!line.empty() && isWhiteSpace(line.back())) {
        line.remove_suffix(1);
    }
    return std::string(line);
}

/** `lastLine`: the last line that is not blank, if it has a known key. */
std::string damageIn(std::string_view text, bool isLegible, const std::string& lastLine) {
    if (text.empty()) {
        return "The record is damaged: it is empty.";
    }
    if (text.find('\0') != std::string_view::npos) {
        return "The record is damaged: it has NUL characters.";
    }
    if (!isLegible) {
        return "The record is damaged: no line of it has a key of a record.";
    }
    const bool isCut = !lastLine.empty() && std::count(lastLine.begin(), lastLine.end(), '"') < 2;
    return isCut ? "The record is damaged: its last line, " + lastLine + ", lacks the closing quote." : "";
}

} // namespace

RecordText readRecord(std::string_view text, StoreState& state) {
    RecordText found;
    RecordReader reader(state, nullptr);
    std::string lastLine;
    bool hasKey = false;
    for (std::string_view rest = text; !rest.empty();) {
        const std::string_view line = takePiece(rest);
        const LineKind kind = reader.readLine(line);
        if (kind == LineKind::INVALID) {
            found.invalidLines.push_back(trimmed(line));
        }
        if (kind != LineKind::BLANK) {
            hasKey = hasKey || kind == LineKind::KNOWN;
            lastLine = kind == LineKind::KNOWN ? trimmed(line) : "";
        }
    }
    found.damage = damageIn(text, hasKey || found.invalidLines.empty(), lastLine); // comments alone are legible
    return found;
}

StoredRecord::StoredRecord(const std::string& study) : state(study.c_str(), "") {
}

bool StoredRecord::read() {
    directory = locateStudy(state.studyId.c_str());
    path = directory.empty() ? "" : recordPath(directory.c_str()).c_str();
    std::string all;
    if (directory.empty() || !readFile(directory.c_str(), path.c_str(), all)) {
        return false;
    }
    text = readRecord(all, state);
    return true;
}

void StoredRecord::require() {
    if (!read()) {
        throw Failure(absence(), STATUS_EXISTENCE);
    }
}

std::string StoredRecord::absence() const {
    return directory.empty() ? "The record does not exist: the repository does not know the study."
                             : "The record does not exist: " + path;
}

void StoredRecord::reportInvalidLines() const {
    for (const std::string& line : text.invalidLines) {
        remark(state.studyId.c_str(), "Invalid line: " + line + " (in " + path + ")");
    }
}

std::vector<std::string> StoredRecord::legacyNames() const {
    std::vector<std::string> names;
    std::string all;
    readFile(directory.c_str(), legacyListPath(directory.c_str()), all);
    for (std::string_view rest = all; !rest.empty();) {
        const OFString name = legacyDevice(takePiece(rest));
        if (!name.empty()) {
            names.emplace_back(name.c_str(), name.length());
        }
    }
    return names;
}

std::string StoredRecord::writingDirectory() const {
    const std::string info = infoDirectoryPath(directory.c_str()).c_str();
    if (directory.empty()) {
        return state.repository.c_str();
    }
    return access(info.c_str(), F_OK) == 0 ? info : directory;
}

void StoredRecord::throwNotCreated() const {
    throwFileError("Creating the temporary record file failed: ", writingDirectory().c_str(), errno);
}

} // namespace storestate
