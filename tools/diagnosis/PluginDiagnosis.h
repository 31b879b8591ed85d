/**
 * Calls the plug-in directly. The library's facade writes the reason of a failure to the system log only, and its
 * caller cannot distinguish a failure from an unknown study.
 */
#ifndef TOOLS_DIAGNOSIS_PLUGINDIAGNOSIS_H
#define TOOLS_DIAGNOSIS_PLUGINDIAGNOSIS_H

#include <string>

namespace storestate {

/**
 * The study's directory; empty if the repository does not know the study. QXException: the plug-in failed, or the
 * repository's root cannot be searched.
 */
std::string locateStudy(const std::string& study);

/** Lets the plug-in create the study's directory. QXException: that failed. */
std::string makeStudy(const std::string& study);

} // namespace storestate

#endif
