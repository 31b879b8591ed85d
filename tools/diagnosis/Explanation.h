/** Turns an exception of the library into a text that names the cause. */
#ifndef TOOLS_DIAGNOSIS_EXPLANATION_H
#define TOOLS_DIAGNOSIS_EXPLANATION_H

#include "storestate/StoreState.h"
#include "support/QXException.h"
#include "terminal/Status.h"

#include <functional>
#include <string>

namespace storestate {

/** The failure's text. If the database failed, it is asked once more for the cause. */
std::string explained(const QXException& failure);

/** Which values the key of the first value that cannot be stored accepts; empty if every value can be stored. */
std::string valueRule(const StoreState& state);

/** Runs `work`, which formats or saves the record. If a value cannot be stored, the Failure includes valueRule(). */
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

/** Runs `work` for a study or a command. An exception becomes a line on standard error and the exit status. */
int guarded(const std::string& subject, const std::function<int()>& work);

} // namespace storestate

#endif
