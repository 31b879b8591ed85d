// What ships, in a process that has names of its own for what the library exports, and with a real log daemon's socket.
#include "support/Export.h"
#include "support/Testing.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/un.h>

extern "C" {
STORESTATE_EXPORT long rh_logger[] = {1, 2, 3, 4};
STORESTATE_EXPORT void dumpPS() {
    ADD_FAILURE() << "the library's calls bind inside it";
}
STORESTATE_EXPORT void getLocation() {
    ADD_FAILURE() << "the library's calls bind inside it";
}
}

/** A socket /dev/log, in a /dev that only this process sees. What lies in memory there stays. */
static int bindLogSocket() {
    const std::string user = "0 " + std::to_string(getuid()) + " 1", group = "0 " + std::to_string(getgid()) + " 1";
    if (unshare(CLONE_NEWNS) != 0) { // not root: a root of its own
        if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
            return -1;
        }
        std::ofstream("/proc/self/uid_map") << user;
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/gid_map") << group;
    }
    mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr); // fails in a chroot, whose mounts are private already
    const std::string memory = "/proc/self/fd/" + std::to_string(open("/dev/shm", O_PATH));
    if (mount("tmpfs", "/dev", "tmpfs", 0, nullptr) != 0) {
        return -1;
    }
    std::filesystem::create_directory("/dev/shm");
    mount(memory.c_str(), "/dev/shm", nullptr, MS_BIND | MS_REC, nullptr);
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM, 0);
    sockaddr_un address = {AF_UNIX, "/dev/log"};
    return bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 ? socket : -1;
}

TEST(Shipped, LogsToTheSystemLogAndKeepsToItself) {
    const int log = bindLogSocket();
    if (log < 0) {
        GTEST_SKIP() << "no /dev/log (" << strerror(errno) << "): needs root or user namespaces";
    }
    const Workplace place;
    void* library = dlopen(STORESTATE_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    const auto locate = reinterpret_cast<char* (*)(const char*, const char*, void*)>(dlsym(library, "getLocation"));
    setVariable("LOG_FACILITY", "local3");
    const std::string process = "QXRepositoryHandlerIface[" + std::to_string(getpid()) + "]: ";
    const std::string trace = "<159>" + process + "called getLocation with repository=" + place.repository();
    std::filesystem::create_directory(place.repository() + "/S%s");
    EXPECT_NE(std::unique_ptr<char[]>(locate(place.repository().c_str(), "S%s", nullptr)), nullptr);
    setVariable("REPOSITORY_HANDLER_HOME", TEST_PLUGINS "/failing");
    EXPECT_EQ(locate(place.repository().c_str(), "T", nullptr), nullptr);
    std::string received; // without the dates
    char text[4096];
    for (ssize_t length; (length = recv(log, text, sizeof text, MSG_DONTWAIT)) > 0;) {
        received += std::string(text, size_t(length)).erase(strlen("<159>"), strlen("Jan  1 00:00:00 ")) + "\n";
    }
    EXPECT_EQ(received,
              trace + " fileName=S%s\n" + trace + " fileName=T\n<155>" + process + "EXCEPTION: 100% %s of %n\n");
    EXPECT_EQ(dlclose(library), 0);
    EXPECT_EQ(rh_logger[0] + rh_logger[1] + rh_logger[2] + rh_logger[3], 10) << "the process's own";
}
