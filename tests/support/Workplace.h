#ifndef TESTS_SUPPORT_WORKPLACE_H
#define TESTS_SUPPORT_WORKPLACE_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <unistd.h>

/** Sets a variable of the environment, or unsets it for null. */
inline void setVariable(const char* name, const char* value) {
    value ? setenv(name, value, 1) : unsetenv(name);
}

/** A variable that scripts/lib/with-mariadb sets for the program that it runs. */
inline std::string serverSetting(const std::string& name) {
    if (const char* value = getenv(name.c_str())) {
        return value;
    }
    throw std::runtime_error(name + " is not set: run scripts/lib/with-mariadb --tcp");
}

/** Where the snapshot of this process lies. */
inline std::string snapshotPath() {
    return "/tmp/error_ps." + std::to_string(getpid()) + ".txt";
}

/** A repository and a lock directory in a temporary folder, which goes with the object, as goes a snapshot; and the
 * environment set to them and to the supplied plug-in. The database is that of scripts/lib/with-mariadb. */
class Workplace {
public:
    Workplace() {
        std::string pattern = (std::filesystem::temp_directory_path() / "storestate-test.XXXXXX").string();
        root = mkdtemp(pattern.data());
        for (const std::string& directory : {locks(), repository()}) {
            std::filesystem::create_directory(directory);
        }
        setVariable("REPOSITORY_DICOM_DATA", repository().c_str());
        setVariable("REPOSITORY_HANDLER_HOME", STORESTATE_BUILD_DIR);
        setVariable("LOCK_VAR", locks().c_str());
    }
    Workplace& operator=(Workplace&&) = delete; // nor any other copy
    ~Workplace() { std::filesystem::remove_all(root), std::filesystem::remove(snapshotPath()); }

    std::string repository() const { return root + "/repository"; }
    std::string locks() const { return root + "/locks"; }
    std::string lockFile(const std::string& study) const { return locks() + "/semaphore_storestate_" + study; }
    std::string info(const std::string& study) const { return repository() + "/" + study + "/.info"; }
    std::string record(const std::string& study) const { return info(study) + "/storestate.rec"; }
    std::string legacyList(const std::string& study) const { return info(study) + "/fwds"; }

    /** Writes a file, and the directories on the way to it. */
    static void write(const std::string& path, const std::string& text) {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << text;
    }

    /** The text of a file; empty when there is none. */
    static std::string read(const std::string& path) {
        return {std::istreambuf_iterator<char>(std::ifstream(path, std::ios::binary).rdbuf()), {}};
    }

    std::string root;
};

#endif
