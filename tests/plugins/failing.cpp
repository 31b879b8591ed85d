// A plug-in that fails in every way it can. What it does not define is missing.
#include "repository/RepositoryHandler.h"
#include "support/QXException.h"

/** Its destructor is code of the plug-in, which must still be loaded when it runs. */
struct OwnFailure : QXIOException {
    OwnFailure() : QXIOException(5, "of a class of the plug-in") {}
    ~OwnFailure() override { message.clear(); }
};

char* getLocation_(const char*, const char*, void*) {
    throw QXException(1, "%s", "100% %s of %n");
}
char* createDirectory_(const char*, const char*, void*, bool) {
    throw OwnFailure();
}
int32_t unAge_(const char*, const char*) {
    throw 42;
}
__asm__(".globl freeMount_\n.set freeMount_, 0"); // a symbol without an address
