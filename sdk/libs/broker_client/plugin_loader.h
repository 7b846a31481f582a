#pragma once

#include <string>
#include <string_view>

// Finding and loading a plug-in that lies beside the running program.

namespace kavro {

/// How a platform spells the plug-in's path.
struct PluginNaming {
    char separator;
    std::string_view file;
};

/// Where the plug-in of that program is looked for; empty when the program's path has no folder or
/// is longer than 259 bytes, the most that every platform tells whole.
std::string plugin_path(std::string_view executable, const PluginNaming &naming);

// What the platform does; a source file for each.

extern const PluginNaming plugin_naming;

/// The full path of the running program; empty when it cannot be had, or not as a whole.
std::string executable_path();

/// A loaded library, until this object goes.
class PluginLibrary {
public:
    /// Tests false afterwards when there is no such library.
    explicit PluginLibrary(const std::string &path);
    ~PluginLibrary();
    PluginLibrary(const PluginLibrary &) = delete;
    PluginLibrary &operator=(const PluginLibrary &) = delete;

    explicit operator bool() const { return module_ != nullptr; }
    /// Leaves the library loaded until the process ends.
    void keep() { module_ = nullptr; }
    /// Null when the library exports no such function.
    template <class Function>
    Function *find(const char *name) const {
        return module_ != nullptr ? reinterpret_cast<Function *>(symbol(name)) : nullptr;
    }

private:
    void *symbol(const char *name) const;

    void *module_;
};

} // namespace kavro
