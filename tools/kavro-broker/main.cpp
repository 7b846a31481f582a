#include "application.h"
#include "signals.h"
#include "terminal.h"

#include <cstdlib>
#include <iostream>

namespace {

std::string environment(const char *name) {
    const char *value = std::getenv(name);
    return value != nullptr ? value : "";
}

} // namespace

int main(int argc, char **argv) {
    using namespace kavro_cli;
    Interruption interruption;
    const SignalWatch signals(interruption);
    const auto terminal = open_terminal(interruption);
    const bool on_terminal = stderr_is_terminal();
    const Surroundings surroundings{.out = std::cout,
                                    .err = std::cerr,
                                    .console = terminal.get(),
                                    .interruption = interruption,
                                    .spinner = on_terminal,
                                    .colour = on_terminal && environment("NO_COLOR").empty(),
                                    .login_name = environment("USER")};
    return run_application({argv + 1, argv + argc}, surroundings);
}
