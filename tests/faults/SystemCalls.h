/** Notes the system calls of this program and makes some fail on purpose. The library itself has no such hook. */
#ifndef TESTS_FAULTS_SYSTEMCALLS_H
#define TESTS_FAULTS_SYSTEMCALLS_H

#include <dirent.h>
#include <functional>
#include <map>
#include <string>
#include <vector>

using Op = int;
enum : Op { OPEN = 1, CLOSE = 2, READ = 4, WRITE = 8, FSYNC = 16, RENAME = 32, UNLINK = 64, MKDIR = 128, STAT = 256 };
enum : Op { LSTAT = 512, FSTAT = 1024, STATFS = 2048, OPENDIR = 4096, READDIR = 8192, REFRESH = 16384 };
enum Place { ROOT = 1, STUDY = 2, INFO = 4, RECORD = 8, TEMPORARY = 16, LIST = 32, LOCK = 64 };

struct Call {
    Op op;
    const char* name; ///< of the function
    Place place;
    std::string path;
    std::string argument; ///< the new path of a rename; "inheritable" without O_CLOEXEC
    bool done;            ///< it took effect, whatever it returned
    bool injected;        ///< the plan made it fail
    int error;            ///< 0: success
};

/** What happens to call number `at` and, with SAME, to later ones of its kind; with ALL, all later ones get EIO. */
struct Plan {
    enum How { NOTHING, ONCE, SAME, ALL, KILL } how;
    size_t at;
    int error; ///< errno or SHORT; EEXIST: another process has done it just before
};
constexpr int SHORT = -1; ///< half of the requested bytes are read or written

inline Plan plan;
inline std::vector<Call> trace;
inline bool noting = false;                  ///< otherwise all calls pass as usual
inline std::map<std::string, Place> places;  ///< by path; calls on other files pass as usual
inline std::map<int, std::string> openFiles; ///< paths by descriptor

inline bool ofCluster = false;                                            ///< what statfs tells of all files
inline std::function<void(struct dirent&)> shown = [](struct dirent&) {}; ///< may change what a directory lists
inline std::function<void(long)> paused = [](long) {}; ///< between two looks, for so many seconds; no time is spent
inline int pauses = 0;

#endif
