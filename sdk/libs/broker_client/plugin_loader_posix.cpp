#include "plugin_loader.h"

#include <dlfcn.h>

#include <filesystem>
#include <system_error>

namespace kavro {

const PluginNaming plugin_naming = {'/', "broker_view_client.so"};

std::string executable_path() {
    std::error_code unknown;
    return std::filesystem::read_symlink("/proc/self/exe", unknown).string();
}

PluginLibrary::PluginLibrary(const std::string &path)
    : module_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {}

PluginLibrary::~PluginLibrary() {
    if (module_ != nullptr)
        dlclose(module_);
}

void *PluginLibrary::symbol(const char *name) const {
    return dlsym(module_, name);
}

} // namespace kavro
