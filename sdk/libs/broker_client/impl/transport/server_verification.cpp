#include "transport/server_verification.h"

#include "utils/src/broker_log.h"

#include <boost/asio/ssl/host_name_verification.hpp>
#include <openssl/x509_vfy.h>

namespace kavro {

namespace ssl = boost::asio::ssl;

void ServerVerification::begin(std::string host, bool connect_securely) {
    host_ = std::move(host);
    connect_securely_ = connect_securely;
    leaf_seen_ = false;
    outcome_ = connect_securely ? VerificationOutcome::passed : VerificationOutcome::not_checked;
    chain_ = {};
    error_text_.clear();
}

bool ServerVerification::verify_server_pbp(bool preverified,
                                           ssl::verify_context &context) noexcept {
    log_debug("HttpsXmlClient::verify_server_pbp( preverified=%s ), security_mode=%s",
              preverified ? "TRUE" : "FALSE", connect_securely_ ? "TRUE" : "FALSE");
    if (!connect_securely_)
        return true;
    try {
        if (!accepts(preverified, context))
            outcome_ = VerificationOutcome::failed;
    } catch (...) {
        outcome_ = VerificationOutcome::failed; // no exception may pass through the TLS library
    }
    return true;
}

bool ServerVerification::accepts(bool preverified, ssl::verify_context &context) {
    X509_STORE_CTX *store = context.native_handle();
    const int depth = X509_STORE_CTX_get_error_depth(store);
    chain_.set_cert(static_cast<std::size_t>(depth), X509_STORE_CTX_get_current_cert(store));
    if (!preverified) {
        reject(X509_verify_cert_error_string(X509_STORE_CTX_get_error(store)));
        return false;
    }
    if (depth != 0)
        return true;
    leaf_seen_ = true;
    if (!ssl::host_name_verification(host_)(true, context)) {
        reject("the host name on the certificate is invalid or does not match.");
        return false;
    }
    return true;
}

void ServerVerification::reject(std::string reason) {
    log_info("The broker's certificate is not accepted: %s", reason.c_str());
    error_text_ = std::move(reason);
}

VerificationOutcome ServerVerification::outcome() const {
    if (outcome_ == VerificationOutcome::passed && !leaf_seen_)
        return VerificationOutcome::failed;
    return outcome_;
}

} // namespace kavro
