#include "regcode/aws_regcode_downloader.h"

#include "regcode/lookup_table.h"
#include "transport/http_framing.h"
#include "transport/tls_exchange.h"
#include "transport/waiter.h"
#include "trust/host_name.h"
#include "trust/tls_settings.h"
#include "trust/trust_store.h"
#include "utils/src/broker_log.h"

#include <stdexcept>

namespace kavro {

namespace {

constexpr HttpRules table_rules = {.body_bytes = LookupTable::max_bytes,
                                   .unstated_length = UnstatedLength::no_body,
                                   .http_1_0 = true};

SslContextHandle verified_tls() {
    SslContextHandle tls = client_tls_context();
    configure_verified_tls(tls.get());
    SSL_CTX_set1_cert_store(tls.get(), TrustStore::of_process().current().get());
    return tls;
}

VerifyCallback judge_of(const std::string &host) {
    return [host](bool trusted, X509_STORE_CTX *certificates) {
        return trusted && fits_host(certificates, host);
    };
}

/// Ends the download when a step went wrong.
void check(const Waiter &waiter, const char *step, const std::string &failure) {
    if (failure.empty())
        return;
    if (waiter.expired())
        throw std::runtime_error("Timeout while downloading the regcode table.");
    const std::string sentence = std::string(step) + " failed (" + failure + ")";
    discovery_log_info("%s", sentence.c_str());
    throw std::runtime_error(sentence);
}

} // namespace

RegistrationService RegistrationService::of_this_build() {
    constexpr std::string_view configured = KAVRO_REGISTRATION_HOST; // HOST or HOST:PORT
    const auto colon = configured.find(':');
    RegistrationService service;
    service.host = configured.substr(0, colon);
    if (colon != configured.npos)
        service.port = configured.substr(colon + 1);
    return service;
}

std::string AwsRegcodeDownloader::download() const {
    if (service_.host.empty())
        throw std::runtime_error("This build knows no registration service");
    const SslContextHandle tls = verified_tls();
    Waiter waiter;
    TlsExchange exchange(waiter, service_.timeout);
    check(waiter, "Connection",
          exchange.connect(tls.get(), {service_.host, service_.port},
                           {common_proxy(), tls.get(), judge_of}, judge_of(service_.host)));
    check(waiter, "Handshake", exchange.handshake());
    check(waiter, "Send request",
          exchange.write("GET /cm-lookup.cfg HTTP/1.1\r\nHost: " + service_.host + "\r\n\r\n"));

    CookieTable unused;
    HttpResponseParser answer(unused, table_rules);
    const std::string failure = exchange.read(answer);
    check(waiter, answer.in_head() ? "Read response header" : "Read response body", failure);
    const SecureText body = answer.take_body();
    if (body.empty())
        discovery_log_info("There is no content to read");
    return std::string(body);
}

} // namespace kavro
