#include "command.h"
#include "display_text.h"
#include "report.h"

#include <fmt/format.h>

#include <ostream>

namespace kavro_cli {
namespace {

void run(Session &session, const Options &options, const Surroundings &surroundings) {
    session.auth_method();
    const auto broker = session.broker_info();
    session.log_out();
    if (options.json())
        report_success({{"broker", to_json(broker)}}, surroundings.out);
    else
        surroundings.out << visible(fmt::format("Greeted and left the broker at {}: {} {} on {}",
                                                broker.address, broker.product_name,
                                                broker.product_version, broker.platform))
                         << '\n';
}

} // namespace

constexpr Command logout_command{
    .name = "logout",
    .summary = "Greet the broker and say good-bye",
    .description =
        "Opens a session at the broker and ends it again, without logging in: a check that the\n"
        "broker is there and trusted. Sessions live in the process that opened them, so this does\n"
        "not end the session of an earlier command; all but connect end theirs themselves.\n\n"
        "Example:\n"
        "  kavro-broker logout --broker broker.example",
    .run = run,
};

} // namespace kavro_cli
