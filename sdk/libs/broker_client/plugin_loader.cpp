#include "plugin_loader.h"

#include <cstddef>

namespace kavro {

std::string plugin_path(std::string_view executable, const PluginNaming &naming) {
    constexpr std::size_t max_length = 259;
    const auto folder_end = executable.rfind(naming.separator);
    if (executable.size() > max_length || folder_end == std::string_view::npos)
        return {};
    return std::string(executable.substr(0, folder_end + 1)).append(naming.file);
}

} // namespace kavro
