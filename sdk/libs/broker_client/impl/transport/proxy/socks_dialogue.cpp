#include "transport/proxy/proxy_dialogue.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>

namespace kavro {

namespace {

// RFC 1928 and RFC 1929.
constexpr std::uint8_t version = 5;
constexpr std::uint8_t log_in_version = 1;
constexpr std::uint8_t no_log_in = 0;
constexpr std::uint8_t by_password = 2;
constexpr std::uint8_t no_method = 0xFF;
constexpr std::uint8_t connect_command = 1;
constexpr std::size_t most_in_a_field = 255;

enum AddressType : std::uint8_t { ipv4 = 1, name = 3, ipv6 = 4 };

/// By the reply (RFC 1928 section 6).
constexpr std::array replies = {"succeeded",
                                "general failure",
                                "connection not allowed",
                                "network unreachable",
                                "host unreachable",
                                "connection refused",
                                "time to live expired",
                                "command not supported",
                                "address type not supported"};
constexpr std::uint8_t network_unreachable = 3;
constexpr std::uint8_t address_type_not_supported = 8;

/// Whether another address of the same host may have better luck.
bool concerns_the_address(std::uint8_t reply) {
    return reply >= network_unreachable && reply <= address_type_not_supported;
}

class SocksDialogue final : public ProxyDialogue {
public:
    SocksDialogue(const Proxy &proxy, const Peer &target, Addresses addresses)
        : proxy_(proxy), target_(target), addresses_(std::move(addresses)) {}

    Next connected() override {
        step_ = &SocksDialogue::read_method;
        // The password is for a proxy that asks, and only one that can be said counts as known.
        return knows_log_in() ? send({version, 2, no_log_in, by_password})
                              : send({version, 1, no_log_in});
    }

    Next received(std::string_view bytes) override {
        input_ += bytes;
        return (this->*step_)();
    }

    Next ended() override { return refused("the proxy ended the connection"); }

private:
    using Bytes = std::initializer_list<std::uint8_t>;

    bool knows_log_in() const {
        return !proxy_.user.empty() && proxy_.user.size() <= most_in_a_field &&
               proxy_.password.size() <= most_in_a_field;
    }

    /// What was answered before it was asked for is dropped.
    Next send(Bytes bytes) {
        input_.clear();
        wipe(request_);
        add(bytes);
        return Next::send;
    }
    void add(Bytes bytes) {
        for (const std::uint8_t byte : bytes)
            request_.push_back(static_cast<char>(byte));
    }
    void add_field(std::string_view text) {
        add({static_cast<std::uint8_t>(text.size())});
        request_ += text;
    }

    std::uint8_t input(std::size_t index) const { return static_cast<std::uint8_t>(input_[index]); }

    Next read_method() {
        if (input_[0] != version)
            return refused("the proxy does not speak SOCKS 5");
        if (input_.size() < 2)
            return Next::read;
        const std::uint8_t method = input(1);
        if (method == no_log_in)
            return ask();
        if (method == by_password && knows_log_in())
            return log_in();
        return method == by_password || method == no_method
                   ? wants_log_in(knows_log_in())
                   : refused("the proxy chose a log-in that was not offered");
    }

    Next log_in() {
        step_ = &SocksDialogue::read_log_in;
        request_.reserve(3 + proxy_.user.size() + proxy_.password.size());
        send({log_in_version});
        add_field(proxy_.user);
        add_field(proxy_.password);
        return Next::send;
    }

    Next read_log_in() {
        if (input_.size() < 2)
            return Next::read;
        const bool accepted = input(1) == 0;
        return accepted ? ask() : wants_log_in(true);
    }

    Next ask() {
        step_ = &SocksDialogue::read_reply;
        std::uint16_t port = 0;
        std::from_chars(target_.port.data(), target_.port.data() + target_.port.size(), port);
        if (addresses_.empty() && target_.host.size() > most_in_a_field)
            return refused("the broker's name is too long for SOCKS");
        send({version, connect_command, 0});
        if (addresses_.empty()) {
            add({name});
            add_field(target_.host);
        } else if (const auto &address = addresses_[tried_]; address.is_v4()) {
            add({ipv4});
            for (const auto byte : address.to_v4().to_bytes())
                add({byte});
        } else {
            add({ipv6});
            for (const auto byte : address.to_v6().to_bytes())
                add({byte});
        }
        add({static_cast<std::uint8_t>(port >> 8), static_cast<std::uint8_t>(port & 0xFF)});
        return Next::send;
    }

    Next read_reply() {
        constexpr std::size_t before_address = 4, port_size = 2;
        if (input_.size() < 2)
            return Next::read;
        if (input(0) != version)
            return refused("the proxy does not speak SOCKS 5");
        if (const std::uint8_t reply = input(1); reply != 0)
            return denied(reply);
        if (input_.size() <= before_address)
            return Next::read;
        const auto address_size = size_of_address();
        if (!address_size)
            return refused("the proxy names an address of no known type");
        const std::size_t size = before_address + *address_size + port_size;
        if (input_.size() < size)
            return Next::read;
        early_bytes_ = input_.substr(size);
        return Next::open;
    }

    std::optional<std::size_t> size_of_address() const {
        switch (input(3)) {
        case ipv4:
            return 4;
        case ipv6:
            return 16;
        case name:
            return 1 + input(4);
        default:
            return std::nullopt;
        }
    }

    Next denied(std::uint8_t reply) {
        status_ = reply;
        if (concerns_the_address(reply) && ++tried_ < addresses_.size())
            return Next::reconnect;
        return refused("the proxy refuses: " + (reply < replies.size()
                                                    ? std::string(replies[reply])
                                                    : "reply " + std::to_string(reply)));
    }

    const Proxy &proxy_;
    const Peer target_;
    const Addresses addresses_;
    std::size_t tried_ = 0;
    Next (SocksDialogue::*step_)() = nullptr;
    SecureText input_;
};

} // namespace

std::unique_ptr<ProxyDialogue> socks_dialogue(const Proxy &proxy, const Peer &target,
                                              Addresses addresses) {
    return std::make_unique<SocksDialogue>(proxy, target, std::move(addresses));
}

} // namespace kavro
