#include "kavro/src/session_provisioning.h"

#include "kavro/src/allocate_resource.h"
#include "transport/http_framing.h"
#include "transport/tls_exchange.h"
#include "transport/waiter.h"
#include "trust/tls_settings.h"
#include "utils/src/base64.h"
#include "utils/src/broker_log.h"
#include "utils/src/cert_chain.h"
#include "xml/xml_message_log.h"

namespace kavro {

namespace {

using Der = Security::cX509_CERT_CHAIN::Der;
using Document = std::shared_ptr<const XmlDocument>;

/// What came of a step, or a sentence that says why the provisioning ends with it.
template <class T = Done>
using Step = Expected<T>;

constexpr HttpRules answer_rules = {.unstated_length = UnstatedLength::to_end_of_stream,
                                    .http_1_0 = true,
                                    .length_in_any_case = true};

BrokerResult logged(eERROR_CODE code, const std::string &sentence) {
    log_info("%s", printable(sentence).c_str());
    return {code, sentence};
}

BrokerResult not_provisioned(const std::string &reason) {
    return logged(ERROR_CODE_SESSION_PROVISION_SERVER_CONNECT_FAILED, reason);
}

/// The certificate that a text stands for; empty when it stands for none.
Der read_certificate(std::string_view text) {
    Security::cX509_CERT_CHAIN certificate;
    if (certificate.set_cert(0, text))
        return certificate.entries().front();
    const auto der = decode_base64(text);
    return der && Security::decode_certificate(*der) ? *der : Der();
}

/// The result of an exchange that ended too early.
BrokerResult failed(const Waiter &waiter, const std::string &reason) {
    if (waiter.cancelled())
        return {ERROR_CODE_CANCELLED};
    return waiter.expired()
               ? logged(ERROR_CODE_SESSION_PROVISION_TIMEOUT, "Session provisioning timeout")
               : not_provisioned(reason);
}

/// One exchange with a provisioning server.
class Provisioning {
public:
    Provisioning(const Provisioner &provisioner, Route route, Waiter &waiter,
                 std::chrono::milliseconds timeout)
        : provisioner_(provisioner),
          route_(std::move(route)),
          waiter_(waiter),
          exchange_(waiter, timeout) {}

    Step<Document> ask(const SessionProvision &content) {
        if (auto step = connect(); !step)
            return step.error();
        if (auto step = check_certificate(); !step)
            return step.error();
        if (auto step = send(session_provision_request(provisioner_.address, content)); !step)
            return step.error();
        return receive();
    }

private:
    /// A step that is over; it went wrong when there is a text.
    Step<> ended(const char *sentence, const std::string &failure) const {
        if (failure.empty())
            return {};
        if (waiter_.expired())
            log_info("Provisioning timeout, close the connection");
        log_info("%s%s", sentence, failure.c_str());
        return sentence + failure;
    }

    Step<> connect() {
        log_info("Session provisioner info ==> scheme=%s, ip=%s, port=%s, aws-gateway-ticket=%s, "
                 "leaf-cert=%s ",
                 printable(provisioner_.scheme).c_str(), printable(provisioner_.address).c_str(),
                 printable(provisioner_.port).c_str(),
                 printable(provisioner_.gateway_ticket).c_str(),
                 printable(provisioner_.leaf_certificate).c_str());
        if (auto step = ended(
                "Connecting to provision server failed : ",
                exchange_.connect(tls_.get(), {provisioner_.address, provisioner_.port}, route_));
            !step)
            return step;
        log_info("Connecting to provision server OK");
        return ended("Handshake failed: ", exchange_.handshake());
    }

    Step<> check_certificate() {
        if (provisioner_.leaf_certificate.empty())
            return {};
        const Der announced = read_certificate(provisioner_.leaf_certificate);
        if (announced.empty()) {
            log_info("The provisioner's leaf certificate cannot be read and is not compared.");
            return {};
        }
        const X509Handle shown = exchange_.server_certificate();
        Security::cX509_CERT_CHAIN certificate;
        if (shown)
            certificate.set_cert(0, shown.get());
        if (!shown || certificate.entries().front() != announced)
            return "The provisioning server showed another certificate than the one that the "
                   "broker announced";
        return {};
    }

    Step<> send(const SecureText &request) {
        log_info("Sending request to provison server ...");
        if (auto step = ended("Sending provision request failed : ", exchange_.write(request));
            !step)
            return step;
        log_info("Number of bytes write: %d", static_cast<int>(request.size()));
        log_info("Sending request to provision server OK!");
        return {};
    }

    Step<Document> receive() {
        CookieTable unused;
        HttpResponseParser answer(unused, answer_rules);
        if (auto step = ended("Failed to get provision result: ", exchange_.read(answer)); !step)
            return step.error();
        std::string unreadable;
        Document document = XmlDocument::parse(answer.take_body(), unreadable, [this] {
            if (waiter_.check())
                throw Interrupted();
        });
        log_info("Provision result : %s",
                 masked_message(document ? document->root() : XmlNode(), MessageDirection::received)
                     .c_str());
        if (auto step = ended("The provision result is no XML: ", unreadable); !step)
            return step.error();
        return document;
    }

    const Provisioner &provisioner_;
    const Route route_;
    Waiter &waiter_;
    const SslContextHandle tls_ = provisioning_tls();
    TlsExchange exchange_;
};

} // namespace

SslContextHandle provisioning_tls() {
    SslContextHandle tls = client_tls_context();
    SSL_CTX_clear_options(tls.get(), SSL_CTX_get_options(tls.get()));
    // OpenSSL 3 no longer counts the last one among "all".
    SSL_CTX_set_options(tls.get(), SSL_OP_ALL | SSL_OP_NO_SSLv3 | SSL_OP_NO_TLSv1 |
                                       SSL_OP_NO_TLSv1_1 | SSL_OP_LEGACY_SERVER_CONNECT);
    SSL_CTX_set_security_level(tls.get(), 1);
    SSL_CTX_set_verify(tls.get(), SSL_VERIFY_NONE, [](int, X509_STORE_CTX *) { return 1; });
    return tls;
}

BrokerResult provision_session(const Provisioner &provisioner, SessionProvision content,
                               Route route, Waiter &waiter, std::chrono::milliseconds timeout,
                               std::string_view protocol_version,
                               cDESKTOP_CONNECTION_RESULT &connection) {
    content.gateway_ticket = provisioner.gateway_ticket;
    try {
        Provisioning provisioning(provisioner, std::move(route), waiter, timeout);
        const auto document = provisioning.ask(content);
        if (!document)
            return failed(waiter, document.error());
        const auto message = read_session_provision((*document)->root());
        if (!message)
            return not_provisioned(message.error());
        return read_target(*message, protocol_version, connection);
    } catch (const Interrupted &) { // in the reading of a long answer
        return failed(waiter, {});
    } catch (const std::exception &failure) { // TLS that cannot be set up
        return not_provisioned(failure.what());
    }
}

} // namespace kavro
