#include "command.h"
#include "display_text.h"
#include "probe.h"
#include "recording.h"
#include "registration_table.h"
#include "report.h"

#include <fmt/format.h>

#include <algorithm>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace kavro_cli {
namespace {

struct Kind {
    uint32_t type;
    const char *word;
    const char *noun;
};

constexpr Kind kinds[] = {
    {KAVRO_BROKER_TYPE_KAVRO, "broker", "A connection broker"},
    {KAVRO_BROKER_TYPE_AWS, "hosted-broker", "A hosted connection broker"},
    {KAVRO_BROKER_TYPE_VIEW, "view-broker", "A View broker"},
    {KAVRO_BROKER_TYPE_DIRECT_HOST, "direct-host",
     "A host that takes connections without a broker"},
};

/// What answers, and where.
struct Finding {
    const Kind *kind;
    std::string address, port;
};

using Time = std::optional<std::chrono::milliseconds>;

/// Does something when the time is over, unless it is gone by then itself.
std::jthread in_time(Time time, std::function<void()> end) {
    return std::jthread([time, end = std::move(end)](const std::stop_token &gone) {
        std::mutex mutex;
        std::unique_lock lock(mutex);
        if (time &&
            !std::condition_variable_any().wait_for(lock, gone, *time, [] { return false; }) &&
            !gone.stop_requested())
            end();
    });
}

Finding find(const Options &options, const Surroundings &surroundings, Time time = {}) {
    if (!options.registration_code.empty())
        update_registration_table(options, surroundings);
    const auto &asked =
        options.registration_code.empty() ? options.broker_host : options.registration_code;
    kavro_broker::type_finder finder;
    const Interruption::Watch watch(surroundings.interruption, [&finder] { finder.cancel(); });
    const auto deadline = in_time(time, [&finder] { finder.cancel(); });
    const auto found = wait_for("Waiting for somebody to answer", surroundings, [&] {
        return finder.find_type_extended(asked, options.broker_port);
    });
    if (surroundings.recording != nullptr)
        surroundings.recording->request_ended("");
    const auto *kind = std::ranges::find(kinds, found.type, &Kind::type);
    if (kind == std::end(kinds))
        throw Failure(KAVRO_BROKER_ERR_NO_BROKER_FOUND);
    if (found.type == KAVRO_BROKER_TYPE_AWS)
        return {kind, found.address, {}};
    return {kind, asked, found.port};
}

void run(const Options &options, const Surroundings &surroundings) {
    const auto [kind, address, port] = find(options, surroundings);
    if (options.json())
        return report_success({{"kind", kind->word}, {"address", address}, {"port", port}},
                              surroundings.out);
    surroundings.out << visible(fmt::format("{} answers at {}{}.", kind->noun, address,
                                            port.empty() ? "" : ", port " + port))
                     << '\n';
}

} // namespace

uint32_t find_kind(const Options &options, const Surroundings &surroundings,
                   std::chrono::milliseconds time) {
    uint32_t type = 0;
    failure_of([&] { type = find(options, surroundings, time).kind->type; });
    surroundings.interruption.check();
    return type;
}

constexpr Command probe_command{
    .name = "probe",
    .summary = "Find out what kind of broker answers at an address",
    .description =
        "Tells whether a connection broker, a View broker or a host that needs none answers at\n"
        "the address, and at which port. Certificates are not checked, and nothing secret\n"
        "is sent: this machine's name and hardware address are.\n\n"
        "Examples:\n"
        "  kavro-broker probe broker.example\n"
        "  kavro-broker probe broker.example:8443 --json",
    .add_options =
        [](CLI::App &app, Options &options) {
            add_address_options(
                app, "HOST,--broker",
                "Where to look, as HOST[:PORT]; without a port those that are usual", options)
                ->type_name("");
        },
    .run_alone = run,
};

} // namespace kavro_cli
