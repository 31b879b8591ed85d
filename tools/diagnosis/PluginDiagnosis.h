/**
 * Asks the plug-in directly. The library's facade tells the reason of a failure to the system log only, and its caller
 * cannot tell a failure from an unknown study.
 */
#ifndef TOOLS_DIAGNOSIS_PLUGINDIAGNOSIS_H
#define TOOLS_DIAGNOSIS_PLUGINDIAGNOSIS_H

#include <string>

namespace storestate {

/**
 * The study's directory; empty when the repository does not know the study. QXException: why the plug-in could not say,
 * or why the repository's root is no directory that can be searched.
 */
std::string locateStudy(const std::string& study);

/** Has the study's directory made. QXException: why that failed, if need be without a reason. */
std::string makeStudy(const std::string& study);

} // namespace storestate

#endif
