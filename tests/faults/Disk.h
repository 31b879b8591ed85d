#ifndef TESTS_FAULTS_DISK_H
#define TESTS_FAULTS_DISK_H

#include "SystemCalls.h"

#include <memory>
#include <set>

/**
 * What a disk may hold after a power cut, by what POSIX promises and no more. A file's data is certain once that file
 * was synced; before, it may be what it was, nothing, half, all, or zeros. A change of a directory (a name made, moved,
 * deleted) is certain once that very directory was synced; before, each may have reached the disk or not, whatever
 * became of the others. What lies in a directory whose own name is lost is lost with it. A file system that cannot sync
 * directories (EINVAL) is taken to write them at once. Locks are not looked at: they are given back by hand.
 */
class Disk {
public:
    using State = std::map<std::string, std::string>; ///< texts by path; "/" for a directory, the first is the root

    explicit Disk(const State& start) {
        for (const auto& [path, text] : start) { durable[path] = std::make_shared<File>(File{text, text}); }
    }

    void apply(const Call& call) {
        if ((call.error != 0 && call.error != EINVAL) || call.place == "lock") {
            return; // changes nothing that counts
        }
        Names now = names(~0U);
        if (call.name == "open" && call.place == "temporary") {
            opened = now.count(call.path) != 0 ? now[call.path] : std::make_shared<File>();
            opened->text = "";
            pending.push_back({call.path, opened, ""});
        } else if (call.name == "write") {
            opened->text += call.argument;
        } else if (call.name == "fsync" && call.place == "temporary") {
            opened->synced = opened->text;
        } else if (call.name == "fsync") {
            settle(call.path);
        } else if (call.name == "mkdir") {
            pending.push_back({call.path, std::make_shared<File>(File{"/", "/"}), ""});
        } else if (call.name == "rename") {
            pending.push_back({call.argument, now[call.path], call.path});
        } else if (call.name == "unlink") {
            pending.push_back({call.path, nullptr, call.path});
        }
    }

    std::set<State> states() const {
        std::set<State> all;
        for (unsigned reached = 0; reached < 1U << pending.size(); ++reached) {
            for (int fate = 0; fate < FATES; ++fate) {
                State state;
                for (const auto& [path, file] : names(reached)) { // a directory comes before what it holds
                    if (state.empty() || state.count(parent(path)) != 0) { state[path] = file->after(fate); }
                }
                all.insert(state);
            }
        }
        return all;
    }

private:
    static constexpr int FATES = 5;
    struct File {
        std::string after(int fate) const {
            const std::string half = text.substr(0, text.size() / 2);
            const std::string zeros(text.size(), '\0');
            const std::string* fates[FATES] = {&synced, &half, &text, &zeros, nullptr};
            return synced == text ? text : fates[fate] != nullptr ? *fates[fate] : "";
        }
        std::string synced, text;
    };
    using Names = std::map<std::string, std::shared_ptr<File>>;
    struct Change {
        void make(Names& names) const {
            names.erase(from);
            if (file != nullptr) { names[path] = file; }
        }
        std::string path;
        std::shared_ptr<File> file; ///< null: none is there now
        std::string from;           ///< the name that goes
    };

    static std::string parent(const std::string& path) { return path.substr(0, path.rfind('/')); }

    /** With those of the pending changes whose bits are set. */
    Names names(unsigned reached) const {
        Names result = durable;
        for (const Change& change : pending) {
            if ((reached >> (&change - pending.data()) & 1) != 0) { change.make(result); }
        }
        return result;
    }

    void settle(const std::string& directory) {
        for (auto change = pending.begin(); change != pending.end();) {
            if (parent(change->path) == directory) {
                change->make(durable);
                change = pending.erase(change);
            } else {
                ++change;
            }
        }
    }

    std::shared_ptr<File> opened = std::make_shared<File>(); ///< the temporary file
    Names durable;
    std::vector<Change> pending;
};

#endif
