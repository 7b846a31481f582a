#include "registration_table.h"

#include "failure.h"

#include <filesystem>

namespace kavro_cli {

void update_registration_table(const Options &options, const Surroundings &surroundings) {
    const auto folder = options.cache_folder.value_or(surroundings.cache_folder);
    if (folder.empty())
        throw Failure(ExitStatus::usage, "NO_CACHE_FOLDER",
                      "There is no folder for the table of registration codes: give --cache.");
    std::filesystem::create_directories(folder);
    wait_for("Waiting for the registration service to tell its codes", surroundings,
             [&] { kavro_broker_set_cache_file_location(folder.c_str()); });
}

} // namespace kavro_cli
