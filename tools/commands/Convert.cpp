#include "commands/Commands.h"
#include "commands/Failure.h"
#include "storestate/RecordFormat.h"
#include "terminal/Interruption.h"
#include "terminal/Progress.h"
#include "terminal/Terminal.h"

#include <iostream>
#include <set>
#include <sstream>

namespace storestate {
namespace {

/** What has become of the studies. */
struct Counts {
    size_t converted = 0;
    size_t unchanged = 0;
    size_t failed = 0;

    size_t all() const { return converted + unchanged + failed; }
};

/** The identifiers to work on; "-" stands for the lines of standard input, blank ones passed over. */
std::vector<std::string> collect(const std::vector<std::string>& studies) {
    std::vector<std::string> all;
    for (const std::string& study : studies) {
        std::string line;
        while (study == "-" && std::getline(std::cin, line)) {
            line.erase(line.find_last_not_of(" \t\r") + 1);
            if (!line.empty()) {
                all.push_back(line);
            }
        }
        if (study != "-") {
            all.push_back(study);
        }
    }
    return all;
}

std::vector<std::string> lines(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> found;
    for (std::string line; std::getline(stream, line);) {
        found.push_back(line);
    }
    return found;
}

/** The lines of a record that go and those that come. */
void printChange(const std::string& study, const std::string& before, const std::string& after) {
    const std::vector<std::string> old = lines(before);
    const std::vector<std::string> changed = lines(after);
    const std::set<std::string> oldSet(old.begin(), old.end());
    const std::set<std::string> changedSet(changed.begin(), changed.end());
    const Style style(stdout);
    printf("%s\n", style.title(printable(study)).c_str());
    for (const std::string& line : old) {
        if (changedSet.count(line) == 0) {
            printf("  %s\n", style.bad("- " + printable(line)).c_str());
        }
    }
    for (const std::string& line : changed) {
        if (oldSet.count(line) == 0) {
            printf("  %s\n", style.good("+ " + printable(line)).c_str());
        }
    }
}

/** Converts one study under its lock, or finds out without the lock what would change. True: its record changes. */
bool convertStudy(const std::string& study, bool dryRun, bool& exists) {
    StoreState state(study.c_str(), "");
    state.useLock = !dryRun;
    exists = state.load();
    if (!exists) {
        return false;
    }
    StoreState stored(study.c_str(), "");
    OFString path;
    stored.readStored(path, nullptr);
    const std::string before = formatRecord(stored);
    const std::string after = formatRecord(state);
    if (before != after && dryRun) {
        requireReadable(state, after);
        printChange(study, before, after);
    } else if (before != after) {
        saveOrThrow(state);
    }
    return before != after;
}

int convertCounted(const std::string& study, bool dryRun, Counts& counts) {
    const int status = guarded(study, [&]() -> int {
        bool exists = false;
        const bool changed = convertStudy(study, dryRun, exists);
        if (!exists) {
            return complain(study, "The record does not exist.", STATUS_EXISTENCE);
        }
        ++(changed ? counts.converted : counts.unchanged);
        return STATUS_DONE;
    });
    counts.failed += status != STATUS_DONE ? 1 : 0;
    return status;
}

} // namespace

int convertRecords(const std::vector<std::string>& arguments, bool dryRun) {
    return guarded("convert", [&]() -> int {
        requirePlugin();
        const std::vector<std::string> studies = collect(arguments);
        const Interruption interruption;
        Counts counts;
        int status = STATUS_DONE;
        {
            Progress progress(dryRun ? 0 : studies.size());
            for (const std::string& study : studies) {
                status = combined(status, convertCounted(study, dryRun, counts));
                progress.update(counts.all(), counts.failed);
                if (interruption.signal() != 0) {
                    break;
                }
            }
        }
        printf("%s %zu, unchanged %zu, failed %zu, of %zu\n", dryRun ? "would be converted" : "converted",
               counts.converted, counts.unchanged, counts.failed, studies.size());
        if (counts.all() < studies.size()) {
            return complain("convert", "Interrupted after " + std::to_string(counts.all()) + " studies.",
                            STATUS_FAILED);
        }
        return status;
    });
}

} // namespace storestate
