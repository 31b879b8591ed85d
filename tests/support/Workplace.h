#ifndef TESTS_SUPPORT_WORKPLACE_H
#define TESTS_SUPPORT_WORKPLACE_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <unistd.h>

inline void setVariable(const char* name, const char* value) {
    value != nullptr ? setenv(name, value, 1) : unsetenv(name);
}

inline std::string serverSetting(const std::string& name) {
    const char* value = getenv(name.c_str());
    if (value == nullptr) {
        throw std::runtime_error(name + " is not set: this test needs scripts/lib/with-mariadb --tcp");
    }
    return value;
}

inline std::string snapshotPath() {
    return "/tmp/error_ps." + std::to_string(getpid()) + ".txt";
}

/**
 * A repository and a lock directory in a temporary folder. The environment names them and the supplied plug-in. The
 * destructor removes the folder and this process's snapshot.
 */
class Workplace {
public:
    Workplace() {
        std::string pattern = (std::filesystem::temp_directory_path() / "storestate-test.XXXXXX").string();
        root = mkdtemp(pattern.data());
        std::filesystem::create_directory(locks());
        std::filesystem::create_directory(repository());
        setVariable("REPOSITORY_DICOM_DATA", repository().c_str());
        setVariable("REPOSITORY_HANDLER_HOME", STORESTATE_BUILD_DIR);
        setVariable("LOCK_VAR", locks().c_str());
    }
    ~Workplace() {
        std::filesystem::remove_all(root);
        std::filesystem::remove(snapshotPath());
    }

    std::string repository() const { return root + "/repository"; }
    std::string locks() const { return root + "/locks"; }
    std::string lockFile(const std::string& study) const { return locks() + "/semaphore_storestate_" + study; }
    std::string info(const std::string& study) const { return repository() + "/" + study + "/.info"; }
    std::string record(const std::string& study) const { return info(study) + "/storestate.rec"; }
    std::string legacyList(const std::string& study) const { return info(study) + "/fwds"; }

    static void write(const std::string& path, const std::string& text) {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << text;
    }

    /** The text of a file; empty if there is no file. */
    static std::string read(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::string root;
};

#endif
