#include "diagnosis/Explanation.h"

#include "diagnosis/DatabaseDiagnosis.h"
#include "diagnosis/PluginDiagnosis.h"
#include "storestate/AutoForward.h"
#include "storestate/RecordFormat.h"

#include <string_view>

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

/** What the plug-in says when it is asked once more. */
std::string pluginCause(const std::string& study) {
    try {
        makeStudy(study);
        return "now the plug-in answers: try again";
    } catch (const QXException& failure) {
        return failure.message;
    }
}

/** Empty when the message says all. */
std::string cause(const std::string& message, const std::string& study) {
    for (const char* beginning : {NOT_CONNECTED, TABLES_MISSING, QUERY_FAILED}) {
        if (startsWith(message, beginning)) {
            return databaseCause();
        }
    }
    if (startsWith(message, LOCKING_FAILED) || startsWith(message, UNLOCKING_FAILED)) {
        return "the lock directory is " + QXSemaphore("", false).lockDir;
    }
    if (message == QXException(1, NOT_CREATED, study.c_str()).message) {
        return pluginCause(study);
    }
    return "";
}

std::string textOf(const QXException& failure) {
    constexpr std::string_view NO_NUMBER = "Unknown Exception: [1] ";
    std::string text;
    failure.toString(text);
    return startsWith(text, NO_NUMBER) ? text.substr(NO_NUMBER.size()) : text;
}

int guard(const std::string& subject, const std::function<int()>& work,
          const std::function<std::string(const QXException&)>& explain) {
    try {
        return work();
    } catch (const Failure& failure) {
        return complain(subject, failure.what(), failure.status);
    } catch (const QXException& failure) {
        return complain(subject, explain(failure));
    } catch (const std::exception& failure) {
        return complain(subject, failure.what());
    } catch (...) { // of a plug-in that breaks its rules; uncaught, it would leave the lock
        return complain(subject, "the plug-in threw an exception of an unknown kind");
    }
}

} // namespace

std::string explained(const QXException& failure, const std::string& study) {
    const std::string why = cause(failure.message, study);
    return textOf(failure) + (why.empty() ? "" : ": " + why);
}

std::string valueRule(const StoreState& state) {
    const auto unstorable = findUnstorable(state, formatRecord(state));
    return unstorable.has_value() ? std::string(unstorable->key) + " takes " + unstorable->rule + "." : "";
}

int guardedStudy(const std::string& study, const std::function<int()>& work) {
    return guard(study, work, [&](const QXException& failure) { return explained(failure, study); });
}

int guarded(const std::string& command, const std::function<int()>& work) {
    return guard(command, work, textOf);
}

} // namespace storestate
