// Drivers and plugins: shared objects that are loaded when a rig names them, and stay loaded.
//
// They live in folders that each hold drivers/SCHEME.so and plugins/OPERATION.so; one library may register several
// operations. The folders of the environment's ORVO_MODULE_PATH (separated by colons) come first, then the one that
// lies beside the program, in the build tree as in an install tree. Of two files of one name the first is taken.
#ifndef HOST_SYSTEM_MODULES_H
#define HOST_SYSTEM_MODULES_H

#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "capture/source.h"

namespace host {

/// No folder has a module of the name that was asked for.
class no_such_module : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Thread rule: one thread at a time; what was loaded may be used as its own interface says.
class CModules
{
public:
    /// The folders of the environment and of the program.
    CModules();
    explicit CModules(std::vector<std::filesystem::path> folders);

    /// The driver of a scheme, the same one for the life of the process. Throws no_such_module naming the folders, or
    /// std::runtime_error naming the file that is no driver.
    capture::CDriver& Driver(const std::string& scheme);

    /// Makes an operation known to the plugin factory: from the library of its name or, when there is none, by loading
    /// every library once. "Identity" is always known. Throws no_such_module naming the folders, and the libraries in
    /// them that could not be loaded, or std::runtime_error naming the library that bears the operation's name in vain.
    void NeedOperation(const std::string& operation);

    /// Loads every library of plugins; what went wrong, one sentence per file, naming it.
    std::vector<std::string> LoadAllPlugins();

    /// Names of the drivers that are there, in ascending order, loaded or not.
    std::vector<std::string> Schemes() const;

    /// Names of the operations that are known so far, "Identity" among them.
    static std::vector<std::string> Operations();

private:
    using Files = std::map<std::string, std::filesystem::path>;

    Files FilesOf(const char* kind) const;
    std::string Folders(const char* kind) const;
    void LoadPlugin(const std::filesystem::path& file);

    std::vector<std::filesystem::path> folders_;
    std::map<std::string, capture::CDriver*> drivers_;
    std::map<std::filesystem::path, std::string> plugins_;  ///< files that were tried, and what was wrong with them
};

}  // namespace host

#endif
