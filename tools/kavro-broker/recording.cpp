#include "recording.h"

#include "failure.h"
#include "log_sink.h"
#include "utils/src/safe_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <vector>

namespace kavro_cli {
namespace {

/// A device or a pipe is written to as it is.
void make_private(const std::string &path) {
    const auto status = std::filesystem::status(path);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
        return;
    if (const auto failure = kavro::replace_file(path, ""))
        throw Failure(ExitStatus::usage, "RECORDING_FAILED",
                      fmt::format("{} cannot be written: {}.", path, failure.message()));
}

bool is_one_of(const Json &phase, std::initializer_list<const char *> phases) {
    return std::ranges::find(phases, phase.get<std::string>()) != phases.end();
}

bool carried_a_request(const Json &connection) {
    return is_one_of(connection["reached"], {"ready", "send"}) ||
           !connection["times_us"]["send"].is_null();
}

bool was_not_made(const Json &connection) {
    return is_one_of(connection["reached"],
                     {"prepare", "resolve", "connect", "proxy", "handshake"});
}

Json line_of(const recording::Exchange &exchange, const Json &connection) {
    return {{"request", exchange.request},
            {"sent", exchange.sent},
            {"received", exchange.received},
            {"connection", connection}};
}

/// In the order in which they were made. A connection that was used for nothing is no line.
std::vector<Json> lines_of(const std::vector<recording::Exchange> &exchanges, const Json &report) {
    std::vector<Json> lines;
    auto next = exchanges.begin();
    for (const Json &connection : report.value("connections", Json::array()))
        if (carried_a_request(connection) && next != exchanges.end())
            lines.push_back(line_of(*next++, connection));
        else if (was_not_made(connection))
            lines.push_back(line_of({}, connection));
    for (; next != exchanges.end(); ++next)
        lines.push_back(line_of(*next, nullptr));
    return lines;
}

} // namespace

Recording::Recording(const std::string &path, const char *command) {
    make_private(path);
    file_.rdbuf()->pubsetbuf(nullptr, 0); // a line is written at once or not at all
    file_.open(path, std::ios::binary | std::ios::app);
    write({{"recording", 1},
           {"program", "kavro-broker " KAVRO_CLI_VERSION},
           {"library", kavro_broker_get_version()},
           {"command", command}});
    if (!file_)
        throw Failure(ExitStatus::usage, "RECORDING_FAILED",
                      fmt::format("{} cannot be written.", path));
    listen_to_log([this](std::string_view message) { hear(message); });
}

Recording::~Recording() {
    listen_to_log({});
}

void Recording::hear(std::string_view message) {
    const std::lock_guard lock(mutex_);
    for (std::size_t end = 0; end != message.npos; message.remove_prefix(end + 1)) {
        end = message.find('\n');
        log_.add(message.substr(0, end));
        if (end == message.npos)
            break;
    }
}

void Recording::request_ended(const std::string &report) {
    const std::lock_guard lock(mutex_);
    write_requests(report.empty() ? Json::object() : Json::parse(report));
}

void Recording::write_requests(const Json &report) {
    auto exchanges = log_.take();
    std::erase_if(exchanges, [](const auto &exchange) { return exchange.request.empty(); });
    auto lines = lines_of(exchanges, report);
    if (!lines.empty())
        lines.back()["result"] = report.value("result", Json());
    for (const Json &line : lines)
        write(line);
}

bool Recording::command_ended(int exit_status) {
    const std::lock_guard lock(mutex_);
    write_requests(Json::object()); // one that was left in its middle
    write({{"exit_status", exit_status}});
    return file_.good();
}

void Recording::write(const Json &line) {
    Json stamped{{"time", time_stamp()}};
    stamped.update(line);
    file_ << stamped.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

} // namespace kavro_cli
