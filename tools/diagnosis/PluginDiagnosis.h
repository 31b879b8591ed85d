/**
 * The plug-in, asked without the library's facade: that tells the reason of a failure to the system log only, and the
 * caller cannot tell a failure from a study that is not there.
 */
#ifndef TOOLS_DIAGNOSIS_PLUGINDIAGNOSIS_H
#define TOOLS_DIAGNOSIS_PLUGINDIAGNOSIS_H

#include <string>

namespace storestate {

/** What the plug-in said. Neither: it does not know the study. Never both. */
struct PluginAnswer {
    std::string directory; ///< the study's
    std::string failure;   ///< why there is no directory: the plug-in's own message, or the system's error
};

/** Asks where the study lies. A repository root that is away is a failure, whatever the plug-in makes of it. */
PluginAnswer askLocation(const std::string& study);

/** Has the study's directory made. A plug-in that answers nothing has failed, if need be without a reason. */
PluginAnswer askToCreate(const std::string& study);

/** Why REPOSITORY_DICOM_DATA is no root that studies could be found in; empty when it is one. */
std::string repositoryFault();

} // namespace storestate

#endif
