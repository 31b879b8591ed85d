#ifndef TESTS_FAULTS_DISK_H
#define TESTS_FAULTS_DISK_H

#include "support/Export.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <map>
#include <set>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>
#include <vector>

/** A system call of this program, noted and perhaps broken on purpose. What ships knows nothing of it. */
struct Call {
    std::string name, place, path, argument; ///< argument: what was written; the new path of a rename
    bool injected;                           ///< the plan had it fail
    int error;                               ///< 0: carried out
};

/** What happens to call number `at`, and to later ones: those of its name (SAME), or all (ALL, with EIO). */
struct Plan {
    enum How { NOTHING, ONCE, SAME, ALL, KILL } how;
    size_t at;
    int error; ///< errno, SHORT, or 0 for a kill
};
constexpr int SHORT = -1; ///< half of what was asked for is read or written

inline Plan plan;
inline std::vector<Call> trace;
inline bool noting = false;                       ///< otherwise all calls pass as usual
inline std::map<std::string, std::string> places; ///< by path; calls on other files pass as usual
inline std::map<int, std::string> openFiles;      ///< paths by descriptor

/** Notes a call and has it done by `work`, or one in so many parts of it, unless it is to fail. */
template <class Work>
int pass(const std::string& name, const std::string& path, const std::string& argument, Work work) {
    if (!noting || places.count(path) == 0) { return static_cast<int>(work(1)); }
    const size_t index = trace.size();
    const bool again = plan.how == Plan::SAME && index > plan.at && name == trace[plan.at].name;
    const int error = index == plan.at || again ? plan.error : index > plan.at && plan.how == Plan::ALL ? EIO : 0;
    if (plan.how == Plan::KILL && index == plan.at) { raise(SIGKILL); }
    ssize_t result = error <= 0 || name == "close" ? work(error == SHORT ? 2 : 1) : -1; // a descriptor goes anyway
    if (error > 0) { result = -1, errno = error; }
    if (name == "open" && result >= 0) { openFiles[static_cast<int>(result)] = path; }
    const std::string& done =
        name == "write" && result > 0 ? argument.substr(0, static_cast<size_t>(result)) : argument;
    trace.push_back({name, places[path], path, done, error > 0, result < 0 ? errno : 0});
    return static_cast<int>(result);
}

inline std::string pathOf(int file) { return noting && openFiles.count(file) != 0 ? openFiles[file] : ""; }

// Also for the plug-in, loaded at run time. The headers give them the names for the width of file offsets and times.
#define CALL(type, name, parameters, path, argument, work)                                                             \
    extern "C" STORESTATE_EXPORT type name parameters {                                                                \
        return pass(#name, path, argument, [&]([[maybe_unused]] size_t parts) { return work; });                       \
    }
CALL(int, open, (const char* path, int flags, ...), path, "", openat(AT_FDCWD, path, flags, 0666))
CALL(int, close, (int file), pathOf(file), "", (openFiles.erase(file), syscall(SYS_close, file)))
CALL(ssize_t, read, (int file, void* buffer, size_t size), pathOf(file), "",
     syscall(SYS_read, file, buffer, (size + parts - 1) / parts))
CALL(ssize_t, write, (int file, const void* buffer, size_t size), pathOf(file),
     std::string(static_cast<const char*>(buffer), size), syscall(SYS_write, file, buffer, (size + parts - 1) / parts))
CALL(int, fsync, (int file), pathOf(file), "", syscall(SYS_fsync, file))
CALL(int, rename, (const char* from, const char* to) noexcept, from, to, renameat(AT_FDCWD, from, AT_FDCWD, to))
CALL(int, unlink, (const char* path) noexcept, path, "", unlinkat(AT_FDCWD, path, 0))
CALL(int, mkdir, (const char* path, mode_t mode) noexcept, path, "", mkdirat(AT_FDCWD, path, mode))
CALL(int, stat, (const char* path, struct stat* status) noexcept, path, "", fstatat(AT_FDCWD, path, status, 0))
CALL(int, lstat, (const char* path, struct stat* status) noexcept, path, "",
     fstatat(AT_FDCWD, path, status, AT_SYMLINK_NOFOLLOW))

/**
 * What a disk may hold after a power cut, by what POSIX promises and no more. Until a file was synced, its data may be
 * nothing, half, all, or zeros. Until a directory was synced, each name made, moved or deleted there may have reached
 * the disk or not. What lies in a directory whose own name is lost is lost with it. A file system that cannot sync
 * directories (EINVAL) is taken to write them at once. Locks are not looked at: they are given back by hand.
 */
class Disk {
public:
    using State = std::map<std::string, std::string>; ///< texts by path; "/" for a directory, the first is the root

    explicit Disk(const State& start) : live(start), possible({start}) {}

    void apply(const Call& call) {
        const std::string& name = call.name;
        const bool file = call.place == "temporary", sync = name == "fsync";
        if (call.place == "lock" || (call.error != 0 && (!sync || file || call.error != EINVAL))) { return; }
        if (name == "write") { text += call.argument; }
        const std::string moved = live.count(call.path) != 0 ? live[call.path] : "";
        const auto change = [&](State& state) {
            if (name == "open" && file) { state[call.path] = UNSYNCED, text = ""; }
            if (name == "mkdir") { state[call.path] = "/"; }
            if (name == "rename") { state[call.argument] = moved; }
            if (name == "rename" || name == "unlink") { state.erase(call.path); }
            for (auto& [path, content] : state) { content = sync && file && content == UNSYNCED ? text : content; }
        };
        change(live);
        const auto before = sync ? std::exchange(possible, {}) : possible; // after a sync no other state can be
        for (State state : before) {
            change(state);
            if (!sync || file || names(state, call.path) == names(live, call.path)) { possible.insert(state); }
        }
    }

    std::set<State> states() const {
        const std::string fates[] = {"", text.substr(0, text.size() / 2), text, std::string(text.size(), '\0')};
        std::set<State> all;
        for (const State& state : possible) {
            for (const std::string& fate : fates) {
                State cut;
                for (const auto& [path, content] : state) { // a directory comes before what it holds
                    const bool kept = cut.empty() || cut.count(parent(path)) != 0;
                    if (kept) { cut[path] = content == UNSYNCED ? fate : content; }
                }
                all.insert(cut);
            }
        }
        return all;
    }

private:
    static constexpr char UNSYNCED[] = "the text, uncertain"; ///< content of the temporary file
    static std::string parent(const std::string& path) { return path.substr(0, path.rfind('/')); }

    static State names(State state, const std::string& directory) {
        for (auto at = state.begin(); at != state.end();) {
            at = parent(at->first) == directory ? std::next(at) : state.erase(at);
        }
        return state;
    }

    State live;               ///< without a power cut
    std::set<State> possible; ///< on the disk
    std::string text;         ///< of the temporary file
};

#endif
