#include "terminal.h"

#include <system_error>

namespace kavro_cli {

bool read_line(int descriptor, Secret &line, const Interruption &interruption) {
    line.clear();
    char character = 0;
    bool begun = false;
    while (read_character(descriptor, character, interruption)) {
        begun = true;
        if (character == '\n')
            break;
        if (line.size() == longest_line)
            throw std::system_error(std::make_error_code(std::errc::value_too_large));
        line.push_back(character);
    }
    kavro::cleanse(&character, 1);
    return begun;
}

} // namespace kavro_cli
