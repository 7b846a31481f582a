#pragma once

#include "utils/src/cert_chain.h"

#include <boost/asio/ssl/verify_context.hpp>

#include <string>

namespace kavro {

enum class VerificationOutcome {
    not_checked = 0,        ///< the connection was made without verification
    passed = 1,             ///< verified, nothing failed
    failed = 2,             ///< the server is rejected
    failed_but_warnable = 3 ///< a fault that the user may accept
};

/// Judges the server's certificate chain during one TLS handshake.
///
/// The handshake itself is never aborted: what was found is kept, so that the caller can learn the
/// chain and the reason. The connection counts only when outcome() says so.
class ServerVerification {
public:
    /// Prepares for the next handshake.
    void begin(std::string host, bool connect_securely);

    /// Called by the TLS library for every certificate of the chain, the server's own (depth 0)
    /// last. Always true: the verdict is in outcome().
    bool verify_server_pbp(bool preverified, boost::asio::ssl::verify_context &context) noexcept;

    /// A secure handshake in which the server's own certificate was never judged has failed.
    VerificationOutcome outcome() const;
    const Security::cX509_CERT_CHAIN &chain() const { return chain_; }
    const std::string &error_text() const { return error_text_; }

private:
    bool accepts(bool preverified, boost::asio::ssl::verify_context &context);
    void reject(std::string reason);

    std::string host_;
    bool connect_securely_ = false;
    bool leaf_seen_ = false;
    VerificationOutcome outcome_ = VerificationOutcome::not_checked;
    Security::cX509_CERT_CHAIN chain_;
    std::string error_text_;
};

} // namespace kavro
