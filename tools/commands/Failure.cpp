#include "commands/Failure.h"

#include "diagnosis/Explanation.h"
#include "support/QXException.h"
#include "terminal/Terminal.h"

#include <exception>

namespace storestate {

int complain(const std::string& subject, const std::string& text, Status status) {
    printRemark(subject, text);
    return status;
}

int guarded(const std::string& subject, const std::function<int()>& work) {
    std::string text;
    try {
        return work();
    } catch (const QXException& failure) {
        text = explained(failure, subject);
    } catch (const std::exception& failure) {
        text = failure.what();
    } catch (...) { // of a plug-in that breaks its rules; uncaught, it would leave the lock
        text = "an exception of an unknown kind, from the plug-in";
    }
    return complain(subject, text, STATUS_FAILED);
}

int combined(int before, int next) {
    if (before == STATUS_DONE || before == next) {
        return next;
    }
    return next == STATUS_DONE ? before : STATUS_FAILED;
}

} // namespace storestate
