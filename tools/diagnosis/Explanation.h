#ifndef TOOLS_DIAGNOSIS_EXPLANATION_H
#define TOOLS_DIAGNOSIS_EXPLANATION_H

#include "support/QXException.h"

#include <string>

namespace storestate {

/**
 * The failure's text and, where that names only the step that failed, the cause: it asks the database or the plug-in
 * once more, and says by which rule a value cannot be stored.
 */
std::string explained(const QXException& failure, const std::string& study);

} // namespace storestate

#endif
