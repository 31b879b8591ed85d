#ifndef TESTS_FAULTS_DISK_H
#define TESTS_FAULTS_DISK_H

#include "SystemCalls.h"

#include <cerrno>
#include <set>
#include <utility>

/**
 * The possible contents of a disk after a power cut, with no more guarantees than those of POSIX. Until a file is
 * synced, its data may be empty, half, complete, or zeros. Until a directory is synced, each created, moved or deleted
 * name in it may have reached the disk or not. If a directory's own name is lost, its contents are lost with it. A file
 * system that cannot sync directories (EINVAL) is assumed to write them at once. Locks are ignored: they are removed by
 * hand.
 */
class Disk {
public:
    using State = std::map<std::string, std::string>; ///< texts by path; "/" for a directory, the first is the root

    explicit Disk(const State& start) : live(start), possible({start}) {}

    void apply(const Call& call) {
        const bool file = call.place == TEMPORARY;
        const bool sync = call.op == FSYNC;
        const bool done = call.error == 0 || call.error == EEXIST || (sync && !file && call.error == EINVAL);
        if (call.place == LOCK || !done) {
            return;
        }
        if (call.op == WRITE) {
            text += call.argument;
        }
        const std::string moved = live.count(call.path) != 0 ? live[call.path] : "";
        const auto change = [&](State& state) {
            if (call.op == OPEN && file) {
                state[call.path] = UNSYNCED;
                text = "";
            }
            if (call.op == MKDIR) {
                state[call.path] = "/";
            }
            if (call.op == RENAME) {
                state[call.argument] = moved;
            }
            if (call.op == RENAME || call.op == UNLINK) {
                state.erase(call.path);
            }
            for (auto& [path, content] : state) {
                content = sync && file && content == UNSYNCED ? text : content;
            }
        };
        change(live);
        const auto before = sync ? std::exchange(possible, {}) : possible; // a sync excludes other states
        for (State state : before) {
            change(state);
            if (!sync || file || names(state, call.path) == names(live, call.path)) {
                possible.insert(state);
            }
        }
    }

    std::set<State> states() const {
        const std::string fates[] = {"", text.substr(0, text.size() / 2), text, std::string(text.size(), '\0')};
        std::set<State> all;
        for (const State& state : possible) {
            for (const std::string& fate : fates) {
                State cut;
                for (const auto& [path, content] : state) { // a directory comes before its contents
                    const bool kept = cut.empty() || cut.count(parent(path)) != 0;
                    if (kept) {
                        cut[path] = content == UNSYNCED ? fate : content;
                    }
                }
                all.insert(cut);
            }
        }
        return all;
    }

private:
    static constexpr char UNSYNCED[] = "unsynced text"; ///< content of the temporary file
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
