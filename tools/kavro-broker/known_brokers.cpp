#include "known_brokers.h"

#include "certificates.h"
#include "options.h"
#include "utils/src/ascii.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <sstream>

namespace kavro_cli {
namespace {

/// Nothing for a comment, or a line that cannot be read.
std::optional<KnownBroker> broker_of(const std::string &line) {
    std::istringstream words(line);
    std::string host, port, further;
    KnownBroker broker;
    words >> host >> port >> broker.key_pin;
    const auto pin = read_pin(broker.key_pin);
    if (!words || words >> further || host.starts_with('#') || !pin || !pin->is_of_key ||
        !split_broker_address(host + ':' + port, broker.host, broker.port) || broker.port != port)
        return std::nullopt;
    return broker;
}

} // namespace

std::string KnownBroker::address() const {
    return host.find(':') == host.npos ? fmt::format("{}:{}", host, port)
                                       : fmt::format("[{}]:{}", host, port);
}

bool KnownBroker::is_at_same_place(const KnownBroker &other) const {
    return kavro::ascii::equal_ignoring_case(host, other.host) && port == other.port;
}

std::vector<KnownBroker> KnownBrokers::all() const {
    std::vector<KnownBroker> brokers;
    for (const auto &line : lines_.all())
        if (const auto broker = broker_of(line))
            brokers.push_back(*broker);
    return brokers;
}

void KnownBrokers::add(const KnownBroker &broker) const {
    std::string line = fmt::format("{} {}", broker.address(), broker.key_pin);
    line[line.rfind(':')] = ' ';
    lines_.change([&](auto &lines) {
        if (std::ranges::count(lines, line) == 0)
            lines.push_back(line);
    });
}

bool KnownBrokers::remove(const KnownBroker &broker) const {
    if (all().empty())
        return false;
    return lines_.change([&](auto &lines) {
        std::erase_if(lines, [&](const auto &line) {
            const auto known = broker_of(line);
            return known && known->is_at_same_place(broker);
        });
    });
}

} // namespace kavro_cli
