#pragma once

#include "own_lines.h"

#include <string>
#include <vector>

namespace kavro_cli {

/// A broker with a key that the user has accepted for good.
struct KnownBroker {
    std::string host, port;
    std::string key_pin; ///< as "sha256//BASE64"

    /// As it is typed: an IPv6 address stands in brackets.
    std::string address() const;
    bool is_at_same_place(const KnownBroker &other) const;
};

/// The file of known brokers: host, port and key pin a line. Comments and lines that cannot be read
/// stay as they are. Everything throws a Failure when the file is not fit to be believed.
class KnownBrokers {
public:
    /// In this folder, which is made when something is written; an empty name is no folder.
    explicit KnownBrokers(std::string folder) : lines_(std::move(folder), "known_brokers") {}

    std::vector<KnownBroker> all() const;
    void add(const KnownBroker &broker) const;
    /// Whatever its key is. False when it was not known.
    bool remove(const KnownBroker &broker) const;

private:
    OwnLines lines_;
};

} // namespace kavro_cli
