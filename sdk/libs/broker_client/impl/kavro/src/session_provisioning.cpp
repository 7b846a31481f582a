#include "kavro/src/session_provisioning.h"

#include "kavro/src/request_text.h"
#include "trust/tls_settings.h"
#include "utils/src/base64.h"
#include "utils/src/broker_log.h"
#include "utils/src/cert_chain.h"
#include "xml/xml_message_log.h"

#include <stdexcept>

namespace kavro {

namespace ssl = boost::asio::ssl;

namespace {

using Der = Security::cX509_CERT_CHAIN::Der;

constexpr std::string_view provisioning_version = "2.1"; // whatever was agreed with the broker
constexpr HttpRules answer_rules = {.unstated_length = UnstatedLength::to_end_of_stream,
                                    .http_1_0 = true,
                                    .length_in_any_case = true};

constexpr TextField<Provisioner> provisioner_fields[] = {
    {"provisioning-scheme", &Provisioner::scheme},
    {"ip-address", &Provisioner::address},
    {"port", &Provisioner::port},
    {"leaf-certificate", &Provisioner::leaf_certificate},
};

/// Ends the provisioning when a step went wrong.
void check(const char *sentence, const std::string &failure) {
    if (failure.empty())
        return;
    log_info("%s%s", sentence, failure.c_str());
    throw std::runtime_error(sentence + failure);
}

/// A child that must be there.
XmlNode required(XmlNode parent, const char *name) {
    const XmlNode child = parent.child(name);
    if (!child)
        throw std::runtime_error(std::string("Could not find ") + name + " tag");
    return child;
}

/// The certificate that a text stands for; empty when it stands for none.
Der read_certificate(std::string_view text) {
    Security::cX509_CERT_CHAIN certificate;
    if (certificate.set_cert(0, text))
        return certificate.entries().front();
    const auto der = decode_base64(text);
    return der && Security::decode_certificate(*der) ? *der : Der();
}

} // namespace

MissingTag read_provisioner(XmlNode provision_info, Provisioner &provisioner) {
    const XmlNode description = provision_info.child("provisioner");
    if (!description)
        return "provisioner";
    if (const MissingTag missing = read_fields(description, provisioner_fields, provisioner))
        return missing;
    const XmlNode variables = description.child("provisioning-variables");
    if (!variables)
        return "provisioning-variables";
    const XmlNode variable = variables.child("variable");
    if (!variable)
        return "variable";
    if (!variable.child("name"))
        return "name";
    const XmlNode value = variable.child("value");
    if (!value)
        return "value";
    provisioner.gateway_ticket = value.text();
    return nullptr;
}

SecureText session_provision_request(std::string_view address, const SessionProvision &content) {
    RequestText text(provisioning_version);
    text.open("session-provision")
        .element("jsessionid", content.jsessionid)
        .element("gateway-ticket", content.gateway_ticket)
        .open("request-context")
        .element("amzn-request-id", content.request_id)
        .close("request-context")
        .open("client-info")
        .element("time-zone-windows", content.time_zone)
        .element("locale", content.locale)
        .close("client-info")
        .close("session-provision");
    const SecureText body = std::move(text).finish() + "\r\n";

    SecureText request;
    request.reserve(body.size() + address.size() + 256);
    // Provisioning servers expect the second line in one piece, as strange as it looks.
    request.append("POST /kavro-broker/xml HTTP/1.1\r\nHost: ")
        .append(address)
        .append("Content-Type: text/xml charset=UTF-8Content-Length: ")
        .append(std::to_string(body.size()))
        .append("\r\n\r\n")
        .append(body);
    return request;
}

ssl::context provisioning_tls() {
    ssl::context tls(client_tls_context().release());
    SSL_CTX *const native = tls.native_handle();
    SSL_CTX_clear_options(native, SSL_CTX_get_options(native));
    // OpenSSL 3 no longer counts the last one among "all".
    SSL_CTX_set_options(native, SSL_OP_ALL | SSL_OP_NO_SSLv3 | SSL_OP_NO_TLSv1 | SSL_OP_NO_TLSv1_1 |
                                    SSL_OP_LEGACY_SERVER_CONNECT);
    SSL_CTX_set_security_level(native, 1);
    tls.set_verify_mode(ssl::verify_none);
    tls.set_verify_callback([](bool, ssl::verify_context &) { return true; });
    return tls;
}

void ProvisioningCancel::reset() {
    const std::lock_guard lock(mutex_);
    cancelled_ = false;
}

void ProvisioningCancel::cancel() {
    const std::lock_guard lock(mutex_);
    cancelled_ = true;
    if (running_ != nullptr)
        running_->exchange_.cancel();
}

void ProvisioningCancel::attach(SessionProvisioning *provisioning) {
    const std::lock_guard lock(mutex_);
    running_ = provisioning;
    if (running_ != nullptr && cancelled_)
        running_->exchange_.cancel();
}

SessionProvisioning::SessionProvisioning(Provisioner provisioner, ProvisioningCancel &cancel,
                                         std::chrono::milliseconds timeout)
    : provisioner_(std::move(provisioner)),
      cancel_(cancel),
      exchange_(tls_, timeout, [] { log_info("Provisioning timeout, close the connection"); }) {
    cancel_.attach(this);
}

BrokerResult SessionProvisioning::run(SessionProvision content, const ReadTarget &read_target) {
    try {
        content.gateway_ticket = provisioner_.gateway_ticket;
        const auto document = ask(content);
        const XmlNode root = document->root();
        if (!root || root.name() != "kavro-client")
            throw std::runtime_error("Could not find kavro-client tag");
        const XmlNode message = required(root, "session-provision-resp");
        const XmlNode result = required(message, "result");
        const std::string id = required(result, "result-id").text();
        if (id != "SESSION_PROVISION_SUCCESSFUL")
            throw std::runtime_error("Session provisioning failed: " + id + " " +
                                     child_text(result, "result-str"));
        return read_target(message);
    } catch (const std::exception &failure) {
        return failed(failure.what());
    }
}

std::shared_ptr<const XmlDocument> SessionProvisioning::ask(const SessionProvision &content) {
    log_info("Session provisioner info ==> scheme=%s, ip=%s, port=%s, aws-gateway-ticket=%s, "
             "leaf-cert=%s ",
             printable(provisioner_.scheme).c_str(), printable(provisioner_.address).c_str(),
             printable(provisioner_.port).c_str(), printable(provisioner_.gateway_ticket).c_str(),
             printable(provisioner_.leaf_certificate).c_str());
    check("Connecting to provision server failed : ",
          exchange_.connect(provisioner_.address, provisioner_.port));
    log_info("Connecting to provision server OK");
    check("Handshake failed: ", exchange_.handshake());
    check_certificate();

    log_info("Sending request to provison server ...");
    const SecureText request = session_provision_request(provisioner_.address, content);
    check("Sending provision request failed : ", exchange_.write(request));
    log_info("Number of bytes write: %d", static_cast<int>(request.size()));
    log_info("Sending request to provision server OK!");

    CookieTable unused;
    HttpResponseParser answer(unused, answer_rules);
    check("Failed to get provision result: ", exchange_.read(answer));
    std::string unreadable;
    auto document = XmlDocument::parse(answer.take_body(), unreadable);
    log_info("Provision result : %s",
             masked_message(document ? document->root() : XmlNode(), MessageDirection::received)
                 .c_str());
    check("The provision result is no XML: ", unreadable);
    return document;
}

void SessionProvisioning::check_certificate() {
    if (provisioner_.leaf_certificate.empty())
        return;
    const Der announced = read_certificate(provisioner_.leaf_certificate);
    if (announced.empty()) {
        log_info("The provisioner's leaf certificate cannot be read and is not compared.");
        return;
    }
    const X509Handle shown = exchange_.server_certificate();
    Security::cX509_CERT_CHAIN certificate;
    if (shown)
        certificate.set_cert(0, shown.get());
    if (!shown || certificate.entries().front() != announced)
        throw std::runtime_error("The provisioning server showed another certificate than the one "
                                 "that the broker announced");
}

BrokerResult SessionProvisioning::failed(const char *reason) const {
    if (exchange_.cancelled())
        return {ERROR_CODE_CANCELLED, {}, {}, {}};
    if (exchange_.timed_out()) {
        constexpr const char *sentence = "Session provisioning timeout";
        log_info(sentence);
        return {ERROR_CODE_SESSION_PROVISION_TIMEOUT, sentence, {}, {}};
    }
    log_info("%s", printable(reason).c_str());
    return {ERROR_CODE_SESSION_PROVISION_SERVER_CONNECT_FAILED, reason, {}, {}};
}

} // namespace kavro
