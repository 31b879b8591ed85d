/** From an exception of the library to a text that names the cause. */
#ifndef TOOLS_DIAGNOSIS_EXPLANATION_H
#define TOOLS_DIAGNOSIS_EXPLANATION_H

#include "storestate/StoreState.h"
#include "support/QXException.h"
#include "terminal/Status.h"

#include <functional>
#include <string>

namespace storestate {

/** The failure's text. Where it names only the step that failed, the database or the plug-in is asked for the cause. */
std::string explained(const QXException& failure, const std::string& study);

/** What the key of the first value that no record can carry takes; empty when every value can be stored. */
std::string valueRule(const StoreState& state);

/** Runs `work`, which formats or saves the record. If a value cannot be stored, the failure says what its key takes. */
template <class Work>
auto withValueRule(const StoreState& state, Work work) {
    try {
        return work();
    } catch (const QXException& failure) {
        const std::string rule = valueRule(state);
        if (rule.empty()) {
            throw;
        }
        throw Failure(failure.message + " " + rule);
    }
}

/** Runs work on a study; turns an exception into its explanation on standard error and the exit status. */
int guardedStudy(const std::string& study, const std::function<int()>& work);

/** The same for a command: nobody is asked for a cause. */
int guarded(const std::string& command, const std::function<int()>& work);

} // namespace storestate

#endif
