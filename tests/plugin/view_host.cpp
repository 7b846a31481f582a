#include "kavro_broker.h"

#include <cstdio>
#include <filesystem>
#include <string_view>

// view_host PLUGIN STEP...: creates a handle of each kind that is named and prints the result;
// "hide" takes the plug-in's file away and "show" brings it back.

namespace {

void ignore(int32_t, int32_t, int32_t, const char *, va_list) {}

void create(const char *name, uint32_t type_code) {
    kavro_broker_handle handle = nullptr;
    std::printf("%s %u\n", name, kavro_broker_create(type_code, &handle));
    kavro_broker_free(handle);
}

} // namespace

int main(int, char **argv) {
    const std::filesystem::path plugin = argv[1];
    const std::filesystem::path hidden = plugin.string() + ".hidden";
    kavro_broker_set_log_function(ignore);
    for (char **argument = argv + 2; *argument != nullptr; ++argument) {
        const std::string_view step = *argument;
        if (step == "hide")
            std::filesystem::rename(plugin, hidden);
        else if (step == "show")
            std::filesystem::rename(hidden, plugin);
        else
            create(*argument, step == "VIEW" ? KAVRO_BROKER_TYPE_VIEW : KAVRO_BROKER_TYPE_KAVRO);
    }
}
