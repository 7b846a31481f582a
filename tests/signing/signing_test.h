#pragma once

#include "kavro_broker_extras.h"
#include "minting.h"
#include "scripted_peer.h"

#include <gtest/gtest.h>
#include <openssl/ssl.h>

#include <cstdarg>
#include <cstdint>
#include <string>
#include <vector>

namespace signing {

using namespace test_support;

/// A server that lets in those whose certificate is by the trusted authority, and who sign with one
/// of these algorithms.
inline PeerTls demanding(const char *signatures, int min_version = 0, int max_version = 0) {
    return {.min_version = min_version,
            .max_version = max_version,
            .demand_client_certificate = true,
            .client_authority = trusted_authority(),
            .client_signatures = signatures};
}

/// A handle, and servers that it trusts.
class SigningTest : public testing::Test {
protected:
    SigningTest() {
        kavro_broker_set_log_function([](int32_t, int32_t, int32_t, const char *, va_list) {});
        kavro_broker_create(KAVRO_BROKER_TYPE_KAVRO, &handle_);
    }
    ~SigningTest() override { kavro_broker_free(handle_); }

    kavro_broker_result greet(const ScriptedPeer &peer) {
        // It also starts a new session: each broker is greeted.
        kavro_broker_set_client_info(handle_, "test client", "1.0", "Linux");
        kavro_broker_set_broker_address(handle_, "127.0.0.1", peer.port().c_str());
        uint32_t method = 0;
        return kavro_broker_get_auth_method(handle_, &method);
    }

    /// A handshake with a server that demands a certificate, and what that server saw.
    kavro_broker_result greet(const PeerTls &tls, PeerRecord &seen) {
        const ScriptedPeer peer({welcome()}, tls);
        const auto result = greet(peer);
        seen = peer.record(0);
        return result;
    }

    kavro_broker_result use(const std::vector<uint8_t> &certificate,
                            kavro_broker_sign_function sign, void *context) {
        return kavro_broker_use_signing_certificate(handle_, certificate.data(), certificate.size(),
                                                    sign, context);
    }

    std::string message() const {
        std::size_t length = 0;
        kavro_broker_get_broker_error_message(handle_, nullptr, &length);
        std::string text(length, '\0');
        kavro_broker_get_broker_error_message(handle_, text.data(), &length);
        return text.c_str();
    }

    TrustedCa trusted_;
    kavro_broker_handle handle_ = nullptr;
};

} // namespace signing
