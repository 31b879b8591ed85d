// A plug-in that fails in every way it can. What it does not define is missing.
#include "repository/RepositoryHandler.h"
#include "support/QXException.h"

namespace {
class OwnFailure : public QXIOException {
public:
    OwnFailure() : QXIOException(5, "of a class of the plug-in") {}
    ~OwnFailure() override { message.clear(); } // code of the plug-in, run while it is still loaded
};
} // namespace

char* getLocation_(const char*, const char*, void*) {
    throw QXException(1, "%s", "100% %s of %n");
}
char* createDirectory_(const char*, const char*, void*, bool) {
    throw OwnFailure();
}
int32_t unAge_(const char*, const char*) {
    throw 42;
}

// A symbol without an address.
__asm__(".globl freeMount_\n.set freeMount_, 0");
