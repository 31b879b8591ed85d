/** Loads the repository plug-in, $REPOSITORY_HANDLER_HOME/lib/RepositoryHandler.so. Any thread may call this. */
#ifndef REPOSITORY_PLUGINLOADER_H
#define REPOSITORY_PLUGINLOADER_H

namespace storestate {

constexpr char PLUGIN_FILE[] = "/lib/RepositoryHandler.so"; ///< below REPOSITORY_HANDLER_HOME

/** Returns a handle for dlclose(). Throws QXException, "dlopen error: ...", if the plug-in cannot be loaded. */
void* loadPlugin();

/** The address of an entry point. Throws QXException, "dlsym error initTask: ...", if the plug-in lacks it. */
void* resolveEntryPoint(void* plugin, const char* symbol);

} // namespace storestate

#endif
