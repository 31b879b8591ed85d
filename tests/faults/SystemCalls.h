/** The system calls of this program, noted and perhaps broken on purpose. What ships knows nothing of it. */
#ifndef TESTS_FAULTS_SYSTEMCALLS_H
#define TESTS_FAULTS_SYSTEMCALLS_H

#include <cstddef>
#include <dirent.h>
#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <vector>

enum Op { OPEN, CLOSE, READ, WRITE, FSYNC, RENAME, UNLINK, MKDIR, STAT, LSTAT, FSTAT, STATFS, OPENDIR, READDIR };
enum Place { ROOT = 1, STUDY = 2, INFO = 4, RECORD = 8, TEMPORARY = 16, LIST = 32, LOCK = 64 };

struct Call {
    Op op;
    Place place;
    std::string path, argument; ///< argument: what was written; a rename's new path; whether a file is "inheritable"
    bool injected;              ///< the plan had it fail
    int error;                  ///< 0: carried out
};
std::ostream& operator<<(std::ostream& out, const Call& call);

/** What happens to call number `at`, and to later ones: those of its kind (SAME), or all (ALL, with EIO). */
struct Plan {
    enum How { NOTHING, ONCE, SAME, ALL, KILL } how;
    size_t at;
    int error; ///< errno, SHORT, or 0 for a kill
};
constexpr int SHORT = -1; ///< half of what was asked for is read or written

extern Plan plan;
extern std::vector<Call> trace;
extern bool noting;                          ///< otherwise all calls pass as usual
extern std::map<std::string, Place> places;  ///< by path; calls on other files pass as usual
extern std::map<int, std::string> openFiles; ///< paths by descriptor

extern bool ofCluster;                            ///< what statfs tells of all files
extern std::function<void(struct dirent&)> shown; ///< may change what a directory lists
extern std::function<void()> paused;              ///< between two looks; no time is spent

#endif
