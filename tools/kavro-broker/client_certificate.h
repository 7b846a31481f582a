#pragma once

#include "client_key.h"

#include <kavro_broker.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace kavro_cli {

/// The certificate that is shown to brokers that ask for one. Its key is unlocked from the
/// beginning, so that nobody is asked for a PIN while a broker waits.
class ClientCertificate {
public:
    explicit ClientCertificate(std::unique_ptr<ClientKey> key);
    ClientCertificate(const ClientCertificate &) = delete;
    ClientCertificate &operator=(const ClientCertificate &) = delete;

    /// Has the broker's client show it and sign with it, for as long as both live.
    void use_in(kavro_broker::broker &broker);

    /// Why the last signature was not made; else empty.
    const std::string &problem() const { return problem_; }

private:
    std::optional<kavro_broker::bytes> sign(std::uint16_t scheme, kavro_broker::bytes digest);

    std::unique_ptr<ClientKey> key_;
    bool is_rsa_ = false;
    std::size_t key_size_ = 0; ///< in bytes
    std::string problem_;
};

} // namespace kavro_cli
