#include "log_sink.h"

#include "display_text.h"
#include "spinner.h"

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <kavro_broker.hpp>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <mutex>
#include <string>
#include <utility>

namespace kavro_cli {
namespace {

std::atomic<int32_t> shown_severity = 0;

std::mutex listener_mutex;
std::function<void(std::string_view)> listener;

void tell_listener(std::string_view text) {
    const std::lock_guard lock(listener_mutex);
    if (listener)
        listener(text);
}

/// Sentences after which the library tells a ticket in the clear.
constexpr std::string_view sentences_with_tickets[] = {
    "Session provisioner info",
    "Handling <allocate-resource-resp>: Gateway Ticket",
};

std::string without_tickets(std::string text) {
    for (const auto sentence : sentences_with_tickets)
        if (text.starts_with(sentence))
            return fmt::format("{} (not shown: it holds a ticket)", sentence);
    return text;
}

/// Continuation lines are marked, so that no text from outside can pass for a message of its own.
std::string marked_lines(std::string_view text) {
    auto shown = visible(text, Lines::many);
    shown.erase(shown.find_last_not_of('\n') + 1);
    for (auto end = shown.find('\n'); end != std::string::npos; end = shown.find('\n', end + 1))
        shown.insert(end + 1, "    | ");
    return shown;
}

void write_message(const kavro_broker::log_message &message) {
    static constexpr const char *severities[] = {"banner", "error", "info", "debug", "verbose"};
    const auto [category, severity, error, text] = message;
    tell_listener(text);
    if (text.starts_with(sentences_with_tickets[0]))
        Spinner::say("Waiting for the provisioning server to provide the session");
    const bool last_words = severity == KAVRO_BROKER_LOG_BANNER && error != 0;
    const auto most = shown_severity.load();
    if (!last_words && (most == 0 || severity > most))
        return;
    auto line = fmt::format(
        "{} {} {}: {}", time_stamp(),
        severity >= 0 && severity < int32_t{std::size(severities)} ? severities[severity] : "other",
        category == KAVRO_BROKER_LOG_CATEGORY_DISCOVERY ? "discovery" : "general",
        marked_lines(without_tickets(text)));
    if (error != 0)
        line += fmt::format(" [{}]", error);
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace

void install_log_sink(int32_t most_severe_shown) {
    shown_severity = most_severe_shown;
    kavro_broker::set_log_function(write_message);
}

void listen_to_log(std::function<void(std::string_view)> new_listener) {
    const std::lock_guard lock(listener_mutex);
    listener = std::move(new_listener);
}

std::string time_stamp() {
    using namespace std::chrono;
    const auto now = system_clock::now();
    const auto fraction = duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000;
    return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:03}Z", fmt::gmtime(system_clock::to_time_t(now)),
                       fraction);
}

} // namespace kavro_cli
