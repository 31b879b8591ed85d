/** The list of all entry points of a repository plug-in. */
#ifndef REPOSITORY_ENTRYPOINTS_H
#define REPOSITORY_ENTRYPOINTS_H

namespace storestate {

struct EntryPoint {
    const char* symbol;
    bool required; ///< the library itself calls it; it only forwards calls of the others
};

inline constexpr EntryPoint ENTRY_POINTS[] = {
    {"getLocation_", true},          {"createDirectory_", true}, {"unAge_", false},
    {"freeMount_", false},           {"checkOverload_", false},  {"listDirs_", false},
    {"listFiles_", false},           {"removeResource_", false}, {"checkResourceStatus_", false},
    {"getRepositoryStatus_", false}, {"createLocation_", false},
};

} // namespace storestate

#endif
