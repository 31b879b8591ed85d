// What ships, in a process that has names of its own for what the library exports, and with a real log daemon's socket.
#include "support/Workplace.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <memory>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/un.h>

extern "C" {
__attribute__((visibility("default"))) long rh_logger[] = {1, 2, 3, 4};
__attribute__((visibility("default"))) void dumpPS() {
    ADD_FAILURE() << "the library's calls bind inside it";
}
__attribute__((visibility("default"))) char* getLocation(const char*, const char*, void*) {
    ADD_FAILURE() << "the library's calls bind inside it";
    return nullptr;
}
}

/** A socket /dev/log, in a /dev that only this process sees. */
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
    if (mount("tmpfs", "/dev", "tmpfs", 0, nullptr) != 0) {
        return -1;
    }
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM, 0);
    sockaddr_un address = {AF_UNIX, "/dev/log"};
    return bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 ? socket : -1;
}

static std::string receive(int socket) {
    char text[4096];
    const ssize_t length = recv(socket, text, sizeof text, MSG_DONTWAIT);
    return {text, length > 0 ? static_cast<size_t>(length) : 0};
}

TEST(Shipped, LogsToTheSystemLogAndKeepsToItself) {
    Workplace place;
    void* library = dlopen(STORESTATE_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    const auto locate = reinterpret_cast<char* (*)(const char*, const char*, void*)>(dlsym(library, "getLocation"));
    const int log = bindLogSocket();
    ASSERT_GE(log, 0) << strerror(errno);
    setenv("LOG_FACILITY", "local3", 1);
    const std::string process = " QXRepositoryHandlerIface[" + std::to_string(getpid()) + "]: ";

    std::filesystem::create_directory(place.repository() + "/S%s");
    EXPECT_NE(std::unique_ptr<char[]>(locate(place.repository().c_str(), "S%s", nullptr)), nullptr);
    const std::string trace = receive(log);
    EXPECT_EQ(trace.substr(0, 5), "<159>");
    EXPECT_NE(trace.find(process + "called getLocation with repository=" + place.repository() + " fileName=S%s"),
              std::string::npos)
        << trace;
    EXPECT_EQ(receive(log), "");

    unsetenv("REPOSITORY_HANDLER_HOME");
    EXPECT_EQ(locate("R", "S", nullptr), nullptr);
    EXPECT_EQ(receive(log).substr(0, 5), "<159>");
    const std::string error = receive(log);
    EXPECT_EQ(error.substr(0, 5), "<155>");
    EXPECT_NE(error.find(process + "EXCEPTION: dlopen error: REPOSITORY_HANDLER_HOME is not set"), std::string::npos);
    unlink(("/tmp/error_ps." + std::to_string(getpid()) + ".txt").c_str());
    EXPECT_EQ(dlclose(library), 0);
    EXPECT_EQ(rh_logger[0] + rh_logger[1] + rh_logger[2] + rh_logger[3], 10) << "the process's own";
}
