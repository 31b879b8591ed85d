#include "diagnosis/Explanation.h"

#include "diagnosis/DatabaseDiagnosis.h"
#include "storestate/AutoForward.h"
#include "storestate/RecordFormat.h"

#include <string_view>
#include <typeinfo>

namespace storestate {
namespace {

bool startsWith(const std::string& text, std::string_view beginning) {
    return text.compare(0, beginning.size(), beginning) == 0;
}

std::string databaseCause() {
    StoreState probe("-", ".");
    const auto fault = askForDevices(probe);
    return fault.has_value() ? fault->text + "; " + fault->remedy : "now the database answers: try again";
}

/** Empty if the message is enough. */
std::string cause(const std::string& message) {
    for (const char* beginning : {NOT_CONNECTED, TABLES_MISSING, QUERY_FAILED}) {
        if (startsWith(message, beginning)) {
            return databaseCause();
        }
    }
    const bool isLock = startsWith(message, LOCKING_FAILED) || startsWith(message, UNLOCKING_FAILED);
    return isLock ? "the lock directory is " + QXSemaphore("", false).lockDir : "";
}

std::string textOf(const QXException& failure) {
    if (typeid(failure) == typeid(QXException) && failure.errorNumber == 1) {
        return failure.message; // neither class nor number says more
    }
    std::string text;
    failure.toString(text);
    return text;
}

} // namespace

std::string explained(const QXException& failure) {
    const std::string why = cause(failure.message);
    return textOf(failure) + (why.empty() ? "" : ": " + why);
}

std::string valueRule(const StoreState& state) {
    const auto unstorable = findUnstorable(state, formatRecord(state));
    return unstorable.has_value() ? std::string(unstorable->key) + " takes " + unstorable->rule + "." : "";
}

int guarded(const std::string& subject, const std::function<int()>& work) {
    try {
        return work();
    } catch (const Failure& failure) {
        return complain(subject, failure.what(), failure.status);
    } catch (const QXException& failure) {
        return complain(subject, explained(failure));
    } catch (const std::exception& failure) {
        return complain(subject, failure.what());
    } catch (...) { // from a plug-in that breaks its rules; if it ended the program, the lock would stay
        return complain(subject, "the plug-in threw an exception of an unknown kind");
    }
}

} // namespace storestate
