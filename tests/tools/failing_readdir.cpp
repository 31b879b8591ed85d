// Preloaded: no directory can be read. Which of the two functions a program calls depends on the architecture.
#include <cerrno>

#pragma GCC visibility push(default)

extern "C" {
void* readdir(void* /*directory*/) {
    errno = EIO;
    return nullptr;
}

void* readdir64(void* directory) __attribute__((alias("readdir")));
}
