// Releasing what the configuration code keeps for the life of the process.
// Only for when the library itself is unloaded (FreeLibrary, seen by
// DllMain) or between the inputs of a fuzz target: at process exit other
// threads may still be using the table and the texts it handed out, so
// there it is left to the system. No other thread may be in the library.
#ifndef TW_CONFIG_RELEASE_H
#define TW_CONFIG_RELEASE_H

namespace tw::config {

// The path table, its caches, the reverse index and the module mutex; the
// next use builds them afresh.
void release_paths_table();
// The module identity; the next getModuleID derives it afresh.
void release_module_identity();

}  // namespace tw::config

#endif
