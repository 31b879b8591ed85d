#include "commands/Commands.h"
#include "commands/Failure.h"
#include "record/RecordView.h"

#include <ctime>
#include <sys/stat.h>

namespace storestate {
namespace {

using Json = nlohmann::ordered_json;

/** "2026-03-01 14:05:09"; empty when the file is gone. */
std::string modificationTime(const OFString& path) {
    struct stat status;
    char text[64] = "";
    if (stat(path.c_str(), &status) == 0) {
        struct tm local = {};
        strftime(text, sizeof text, "%F %T", localtime_r(&status.st_mtime, &local));
    }
    return text;
}

void print(const StoreState& state, const OFString& path) {
    const Style style(stdout);
    printf("%s  %s\n", style.title(printable(state.studyId.c_str())).c_str(),
           style.faint(printable(path.c_str()) + "  " + modificationTime(path)).c_str());
    printf("%s\n", recordPicture(state, style).c_str());
}

int showRecord(const std::string& study, Json* list) {
    return guarded(study, [&]() -> int {
        StoreState state(study.c_str(), "");
        OFString path;
        if (!state.readStored(path, stderr)) {
            return complain(study,
                            path.empty() ? "The record does not exist: the repository does not know the study, unless "
                                           "the system log tells of a failure."
                                         : std::string("The record does not exist: ") + path.c_str(),
                            STATUS_EXISTENCE);
        }
        if (list != nullptr) {
            list->push_back({{"study", study}, {"file", path.c_str()}, {"record", recordJson(state)}});
        } else {
            print(state, path);
        }
        return STATUS_DONE;
    });
}

} // namespace

int showRecords(const std::vector<std::string>& studies, bool asJson) {
    const auto showAll = [&]() -> int {
        requirePlugin();
        Json list = Json::array();
        int status = STATUS_DONE;
        for (const std::string& study : studies) {
            status = combined(status, showRecord(study, asJson ? &list : nullptr));
        }
        if (asJson) {
            printf("%s\n", list.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
        }
        return status;
    };
    return guarded(studies.front(), showAll);
}

} // namespace storestate
