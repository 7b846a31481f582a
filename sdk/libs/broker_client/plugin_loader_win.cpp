#include "plugin_loader.h"

#include <windows.h>

#include <iterator>

namespace kavro {

const PluginNaming plugin_naming = {'\\', "broker_view_client.dll"};

std::string executable_path() {
    char path[MAX_PATH] = {};
    const DWORD length = GetModuleFileNameA(nullptr, path, std::size(path));
    return length < std::size(path) ? std::string(path, length) : std::string();
}

PluginLibrary::PluginLibrary(const std::string &path) : module_(LoadLibraryA(path.c_str())) {}

PluginLibrary::~PluginLibrary() {
    if (module_ != nullptr)
        FreeLibrary(static_cast<HMODULE>(module_));
}

void *PluginLibrary::symbol(const char *name) const {
    return reinterpret_cast<void *>(GetProcAddress(static_cast<HMODULE>(module_), name));
}

} // namespace kavro
