#include "manual.h"

#include <utility>

namespace manual {

Options shown_options(const CLI::App &app) {
    return app.get_options([](const CLI::Option *option) { return !option->get_group().empty(); });
}

Commands commands_of(const CLI::App &app) {
    return app.get_subcommands([](const CLI::App *) { return true; });
}

std::string value_of(const CLI::Option &option) {
    return option.get_type_size() == 0 ? std::string() : option.get_type_name();
}

void add_manual_options(CLI::App &app) {
    using Print = std::string (*)(const CLI::App &);
    for (const auto &[name, print] : std::initializer_list<std::pair<const char *, Print>>{
             {"--manual-page", manual_page},
             {"--bash-completion", bash_completion},
             {"--zsh-completion", zsh_completion},
             {"--fish-completion", fish_completion}})
        app.add_flag_callback(name,
                              [&app, text = print] { throw CLI::CallForVersion(text(app), 0); })
            ->group("");
}

} // namespace manual
