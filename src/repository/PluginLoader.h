/** How the repository plug-in, $REPOSITORY_HANDLER_HOME/lib/RepositoryHandler.so, is loaded. Any thread may do so. */
#ifndef REPOSITORY_PLUGINLOADER_H
#define REPOSITORY_PLUGINLOADER_H

namespace storestate {

constexpr char PLUGIN_FILE[] = "/lib/RepositoryHandler.so"; ///< below REPOSITORY_HANDLER_HOME

/** Loads the plug-in; its handle is for dlclose(). QXException, "dlopen error: ...", when that is not possible. */
void* loadPlugin();

/** The address of an entry point. QXException, "dlsym error initTask: ...", when the plug-in lacks it. */
void* resolveEntryPoint(void* plugin, const char* symbol);

} // namespace storestate

#endif
