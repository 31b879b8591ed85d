#include "check/CheckMounts.h"

#include "storestate/FreshLook.h"

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace storestate {
namespace {

/** An option of a cluster file system's client with which calls went wrong on several hosts. */
struct Pitfall {
    const char* client;  ///< what type and source of its mounts begin with
    const char* options; ///< the file in which the client shows its options
    const char* option;  ///< as written there; behind it comes what it is set to
    const char* wrong;   ///< "no", or a number of seconds when this is empty
    const char* effect;
    const char* remedy;
};

constexpr char REMEMBERS[] = "remembers missing names: unlock may answer true and leave another host's lock";

constexpr Pitfall PITFALLS[] = {
    {"fuse.glusterfs", "/.meta/cmdline", "negative-timeout=", "", REMEMBERS, "mount it without negative-timeout"},
    {"fuse.glusterfs", "/.meta/cmdline", "use-readdirp=", "no",
     "learns no names from listings: calls take over a second, or fail", "mount it without use-readdirp"},
    {"fuse mfs", "/.params", "mfsnegentrycacheto: ", "", REMEMBERS, "mount it without mfsnegentrycacheto"},
};

bool beginsWith(const std::string& text, const std::string& beginning) {
    return text.rfind(beginning, 0) == 0;
}

bool isWrong(const Pitfall& pitfall, const std::string& options) {
    const std::string option = pitfall.option;
    const size_t at = options.find(option);
    if (at == std::string::npos) {
        return false;
    }
    const std::string value = options.substr(at + option.size());
    return *pitfall.wrong != '\0' ? beginsWith(value, pitfall.wrong) : strtod(value.c_str(), nullptr) > 0;
}

/** True: the mount is one of these clients. */
bool checkClient(CheckReport& report, const std::string& subject, const Mount& mount) {
    bool known = false;
    CheckReport own([&](const Finding& finding) { report.add(finding); });
    for (const Pitfall& pitfall : PITFALLS) {
        if (!beginsWith(mount.type + " " + mount.source, pitfall.client)) {
            continue;
        }
        std::ifstream file(mount.directory + pitfall.options);
        const std::string options(std::istreambuf_iterator<char>(file), {});
        if (options.empty() && !known) {
            own.note(subject, "the client at " + mount.directory + " does not show its options",
                     std::string("see that there is none with which it ") + pitfall.effect);
        } else if (isWrong(pitfall, options)) {
            own.bad(subject, "the client at " + mount.directory + " " + pitfall.effect, pitfall.remedy);
        }
        known = true;
    }
    if (known && own.worst() == Verdict::GOOD) {
        report.good(subject, "the client at " + mount.directory + " has options that suit several hosts");
    }
    return known;
}

} // namespace

void checkMount(CheckReport& report, const std::string& subject, const Mount& mount) {
    const bool nfs = beginsWith(mount.type, "nfs");
    if (!checkClient(report, subject, mount) && nfs && mount.options.find("lookupcache=none") == std::string::npos) {
        report.note(subject, "the NFS client at " + mount.directory + " remembers names, which may lead to old files",
                    "where several hosts work on the same studies, mount it with lookupcache=none");
    }
}

void checkMounts(CheckReport& report) {
    const std::string repository = realPath(setting("REPOSITORY_DICOM_DATA"));
    const std::string locks = realPath(setting("LOCK_VAR"));
    const Mount first = mountOf(repository);
    const Mount second = mountOf(locks);
    checkMount(report, "REPOSITORY_DICOM_DATA", first);
    if (second.directory != first.directory) {
        checkMount(report, "LOCK_VAR", second);
    }
    if (!FreshLook().isLocal(repository.c_str()) && FreshLook().isLocal(locks.c_str())) {
        report.note("LOCK_VAR", locks + " is on this host alone, and the repository is shared",
                    "fine for a single host; otherwise take a directory that all hosts share");
    }
}

} // namespace storestate
