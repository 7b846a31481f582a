#include "query_broker_client.h"

#include "regcode/registration_code.h"
#include "utils/src/assertion.h"
#include "utils/src/broker_log.h"
#include "utils/src/broker_utils.h"
#include "utils/src/client_identity.h"

#include <array>
#include <initializer_list>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace kavro {

namespace {

std::string as_lines(std::initializer_list<std::string> lines) {
    std::string text;
    for (const std::string &line : lines)
        (text += line) += "\r\n";
    return text;
}

std::string kavro_greeting(const HttpsXmlClient &connected) {
    const std::string &host_name = connected.local_host_name();
    const std::string mac_address = get_local_mac_address(connected.local_address());
    return as_lines({
        R"(<?xml version="1.0"?>)",
        R"(<kavro-client version="2.1">)",
        "<hello>",
        "<client-info>",
        "<product-name>QueryBrokerClient</product-name>",
        "<product-version>1.0</product-version>",
        "<platform>Kavro</platform>",
        "<locale>en_US</locale>",
        "<hostname>" + host_name + "</hostname>",
        "<serial-number>" + mac_address + "</serial-number>",
        "<device-name>" + host_name + "</device-name>",
        "<kavro-unique-id>" + mac_address + "</kavro-unique-id>",
        "</client-info>",
        "</hello>",
        "</kavro-client>",
    });
}

std::string view_greeting(const HttpsXmlClient &) {
    return as_lines({R"(<?xml version="1.0"?>)", "<broker>", "</broker>"});
}

/// How one kind of broker is recognised: by the answer to a greeting, or, without a greeting, by
/// the TLS connection that it accepts.
struct Protocol {
    BROKER_TYPE type;
    std::string ProbeSettings::*usual_port;
    std::string (*greeting)(const HttpsXmlClient &connected);
    std::string_view path;
    std::string_view answer; ///< a top-level element of it
};

/// In the order in which they are tried.
constexpr std::array protocols = {
    Protocol{KAVRO_BROKER, &ProbeSettings::broker_port, kavro_greeting, "/kavro-broker/xml",
             "kavro-client"},
    Protocol{VIEW_BROKER, &ProbeSettings::broker_port, view_greeting, "/broker/xml", "broker"},
    Protocol{DIRECT_HARD_HOST, &ProbeSettings::direct_host_port, nullptr, {}, {}},
};

constexpr std::array post_result_names = {
    "UNKNOWN",
    "POST_RESULT_INVALID_PARAMS",
    "POST_RESULT_TIMEOUT",
    "POST_RESULT_CANCELLED",
    "POST_RESULT_TLS_PROTOCOL_ERROR",
    "POST_RESULT_SOCKET_OR_SYS_FAILURE",
    "POST_RESULT_MANGLED_RESPONSE",
    "POST_RESULT_NOT_HTTP_OK",
};

const char *display_name(BROKER_TYPE type) {
    switch (type) {
    case AWS_KAVRO_BROKER:
        return "AWS_KAVRO_BROKER";
    case NON_EXISTENT_BROKER:
        return "NON_EXISTENT_BROKER";
    case UNKNOWN_BROKER:
        return "UNKNOWN_BROKER";
    case KAVRO_BROKER:
        return "KAVRO_BROKER";
    case VIEW_BROKER:
        return "VIEW_BROKER";
    case DIRECT_HARD_HOST:
        return "DIRECT_HARD_HOST";
    }
    return "**UNDEFINED BROKER TYPE**";
}

bool has_top_level_element(const XmlDocument &document, std::string_view name) {
    for (XmlNode element = document.root(); element; element = element.next()) {
        if (element.name() == name)
            return true;
    }
    return false;
}

} // namespace

QueryBrokerClient::QueryBrokerClient(const std::string &address, const std::string &port,
                                     const ProbeSettings &settings, std::shared_ptr<Waiter> waiter,
                                     const std::atomic<bool> &cancelled)
    : settings_(settings),
      url_("https://" + address),
      waiter_(std::move(waiter)),
      cancelled_(cancelled),
      port_(port) {
    trace_entry("QueryBrokerClient::QueryBrokerClient");
    std::string host, own_port, scheme;
    if (parse_uri(url_, host, own_port, scheme) && !own_port.empty())
        port_ = own_port;
    auto_port_ = port_.empty();
    if (!auto_port_ && !is_port_number(port_))
        throw std::invalid_argument("the port is no port number");
}

QueryBrokerClient::~QueryBrokerClient() {
    trace_entry("QueryBrokerClient::~QueryBrokerClient");
}

ProbeResult QueryBrokerClient::get_broker_type() {
    while (true) {
        trace_entry("QueryBrokerClient::try_next", "auto probe");
        if (std::string broker = broker_of_code(); !broker.empty())
            return finish(AWS_KAVRO_BROKER, std::move(broker));
        if (!choose_attempt())
            return finish(UNKNOWN_BROKER);
        const Finding found = try_next();
        if (cancelled_)
            return {};
        if (found)
            return finish(*found);
    }
}

/// The address that a registration code stands for; looked up before the first attempt only.
std::string QueryBrokerClient::broker_of_code() const {
    if (protocol_index_ >= 0)
        return {};
    return convert_registration_code(url_, [this] {
        if (cancelled_)
            throw Interrupted();
    });
}

/// Decides on protocol, port and time-out of the next attempt; false when there is none left.
bool QueryBrokerClient::choose_attempt() {
    if (protocol_index_ == 0 && auto_port_ && port_ == settings_.broker_port) {
        discovery_log_info("No Kavro broker found on port %s, retrying on port %s.", port_.c_str(),
                           settings_.second_broker_port.c_str());
        port_ = settings_.second_broker_port;
        return true;
    }
    return next_protocol();
}

bool QueryBrokerClient::next_protocol() {
    trace_entry("QueryBrokerClient::next_protocol", ++protocol_index_);
    if (protocol_index_ == std::ssize(protocols)) {
        if (++timeout_index_ == settings_.timeouts.size()) {
            discovery_log_info("Cannot determine connection type.  Abort connection.");
            return false;
        }
        discovery_log_info("Cannot determine connection type.  Try longer timeout %d msec per "
                           "protocol...",
                           static_cast<int>(settings_.timeouts[timeout_index_].count()));
        protocol_index_ = 0;
    }
    if (auto_port_)
        port_ = settings_.*protocols[protocol_index_].usual_port;
    return true;
}

QueryBrokerClient::Finding QueryBrokerClient::try_next() {
    transport_ = std::make_unique<HttpsXmlClient>(settings_.lookup, waiter_);
    transport_->set_proxy(common_proxy());
    ConnectResult connected;
    transport_->connect(
        url_, false, [&connected](const ConnectResult &result) { connected = result; },
        settings_.timeouts[timeout_index_], port_);
    transport_->run_io(true);
    return handle_connect(connected);
}

QueryBrokerClient::Finding QueryBrokerClient::handle_connect(const ConnectResult &result) {
    log_debug("ENTRY: %s, Result.connect_result   = %d,", "QueryBrokerClient::handle_connect",
              static_cast<int>(result.result));
    switch (result.result) {
    case ConnectCode::connected:
        return speak_protocol();
    case ConnectCode::timeout:
    case ConnectCode::connect_failed:
    case ConnectCode::connect_refused:
    case ConnectCode::tls_handshake_failed:
    case ConnectCode::proxy_failed:
        return std::nullopt;
    case ConnectCode::invalid_params:
        throw std::invalid_argument("the address cannot be connected to");
    default:
        transport_->disconnect();
        return NON_EXISTENT_BROKER;
    }
}

QueryBrokerClient::Finding QueryBrokerClient::speak_protocol() {
    broker_assert(protocol_index_ >= 0 && protocol_index_ < std::ssize(protocols),
                  "QueryBrokerClient::handle_connect");
    const Protocol &protocol = protocols[protocol_index_];
    if (protocol.greeting == nullptr)
        return protocol.type;
    Finding found;
    transport_->http_post_with_xml_path(
        protocol.path, protocol.greeting(*transport_),
        [&](const PostResult &result) { found = handle_post_resp(result); },
        settings_.timeouts[timeout_index_]);
    transport_->run_io(true);
    return found;
}

QueryBrokerClient::Finding QueryBrokerClient::handle_post_resp(const PostResult &result) {
    trace_entry("QueryBrokerClient::handle_post_resp");
    const Protocol &protocol = protocols[protocol_index_];
    if (result.result != POST_RESULT_SUCCESS)
        discovery_log_info("%s: %d (%s)", "QueryBrokerClient::handle_post_resp",
                           static_cast<int>(result.result), post_result_names[result.result]);
    else if (has_top_level_element(*result.document, protocol.answer))
        return protocol.type;
    return std::nullopt;
}

ProbeResult QueryBrokerClient::finish(BROKER_TYPE type, std::string resolved_address) const {
    discovery_log_info("QueryBrokerClient result: %s on port %s", display_name(type),
                       port_.c_str());
    return {type, std::move(resolved_address), port_};
}

} // namespace kavro
