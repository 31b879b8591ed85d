#include "record/StoredRecord.h"

#include "diagnosis/PluginDiagnosis.h"
#include "storestate/Conversion.h"
#include "storestate/RecordFormat.h"
#include "storestate/StudyPaths.h"
#include "storestate/TextFile.h"
#include "support/QXException.h"

namespace storestate {
namespace {

/** False: there is no such file. */
bool readFile(const OFString& path, std::string& text) {
    TextFile file;
    if (!file.open(path)) {
        return false;
    }
    for (std::string_view piece; file.next(piece);) {
        text += piece;
    }
    return true;
}

} // namespace

StoredRecord::StoredRecord(const std::string& study) : state(study.c_str(), "") {
}

bool StoredRecord::read() {
    const PluginAnswer answer = askLocation(state.studyId.c_str());
    if (!answer.failure.empty()) {
        throw QXException(1, answer.failure);
    }
    directory = answer.directory;
    path = directory.empty() ? "" : recordPath(directory.c_str()).c_str();
    std::string all;
    if (directory.empty() || !readFile(path.c_str(), all)) {
        return false;
    }
    text = examineRecord(all);
    RecordReader reader(state, nullptr);
    for (std::string_view rest = all; !rest.empty();) {
        reader.readLine(takePiece(rest));
    }
    return true;
}

std::string StoredRecord::absence() const {
    return directory.empty() ? "The record does not exist: the repository does not know the study."
                             : "The record does not exist: " + path;
}

std::vector<std::string> StoredRecord::legacyNames() const {
    std::vector<std::string> names;
    std::string all;
    readFile(legacyListPath(directory.c_str()), all);
    for (std::string_view rest = all; !rest.empty();) {
        const OFString name = legacyDevice(takePiece(rest));
        if (!name.empty()) {
            names.emplace_back(name.c_str(), name.length());
        }
    }
    return names;
}

} // namespace storestate
