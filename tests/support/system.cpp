#include "system.h"

#include <random>

namespace test_support {

std::filesystem::path fresh_folder() {
    std::random_device dice;
    std::filesystem::path folder;
    do {
        folder = std::filesystem::temp_directory_path() / ("kavro_test_" + std::to_string(dice()));
    } while (!std::filesystem::create_directory(folder));
    return folder;
}

} // namespace test_support
