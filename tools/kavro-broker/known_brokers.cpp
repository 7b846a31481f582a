#include "known_brokers.h"

#include "certificates.h"
#include "options.h"
#include "own_file.h"
#include "utils/src/ascii.h"
#include "utils/src/safe_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <sstream>

namespace kavro_cli {
namespace {

namespace fs = std::filesystem;

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

std::vector<std::string> lines_of(const std::string &text) {
    std::istringstream source(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(source, line);)
        lines.push_back(line);
    return lines;
}

void make_private_folder(const std::string &folder) {
    if (fs::create_directories(folder))
        fs::permissions(folder, fs::perms::owner_all);
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
    if (folder_.empty())
        return brokers;
    for (const auto &line : lines_of(read_own_file(path())))
        if (const auto broker = broker_of(line))
            brokers.push_back(*broker);
    return brokers;
}

void KnownBrokers::add(const KnownBroker &broker) const {
    std::string line = fmt::format("{} {}", broker.address(), broker.key_pin);
    line[line.rfind(':')] = ' ';
    change([&](auto &lines) {
        if (std::ranges::count(lines, line) == 0)
            lines.push_back(line);
    });
}

bool KnownBrokers::remove(const KnownBroker &broker) const {
    if (all().empty())
        return false;
    return change([&](auto &lines) {
        std::erase_if(lines, [&](const auto &line) {
            const auto known = broker_of(line);
            return known && known->is_at_same_place(broker);
        });
    });
}

/// From reading to replacing under a lock, so that nothing is lost that another process writes.
bool KnownBrokers::change(const std::function<void(std::vector<std::string> &lines)> &edit) const {
    if (folder_.empty())
        throw Failure(ExitStatus::usage, "NO_FOLDER", "There is no folder for known brokers.");
    make_private_folder(folder_);
    const auto lock = lock_file(path() + ".lock");
    const auto before = lines_of(read_own_file(path()));
    auto lines = before;
    edit(lines);
    if (lines == before)
        return false;
    std::string text;
    for (const auto &line : lines)
        text += line + '\n';
    if (const auto failure = kavro::replace_file(path(), text))
        throw Failure(ExitStatus::usage, "NOT_WRITTEN",
                      fmt::format("{} could not be written: {}.", path(), failure.message()));
    return true;
}

} // namespace kavro_cli
