#include "diagnosis.h"

#include "certificates.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <optional>

namespace kavro_cli {
namespace {

using Json = nlohmann::ordered_json;

/// What must hold for a finding; what is not stated may be anything.
struct Condition {
    std::optional<kavro_broker_result> result{};
    const char *reached = nullptr;     ///< the last phase of the connection that tells
    std::optional<uint32_t> verdict{}; ///< on any certificate of the chain
    const char *peer_speaks = nullptr;
    const char *answer = nullptr;
    const char *error = nullptr;             ///< somewhere in the words of the connection's error
    int first_status = 0, last_status = 999; ///< of HTTP, the proxy's where it is the last to speak
    bool proxied = false, proxy_unused = false;
    uint32_t kind = 0;
    bool usable_port = true;
};

/// In the words "{0}" is the host, "{1}" the port, "{2}" the proxy and "{3}" what the certificate
/// is for.
struct Finding {
    const char *name;
    Condition condition;
    const char *words;
    const char *advice;
    std::optional<ExitStatus> status{}; ///< where it is not the result's
};

constexpr const char *portal =
    "Open a web page in a browser: if the network asks for a log-in, log in there and try again. "
    "Else the address is that of a web site: ask for the broker's own.";
constexpr const char *other_port =
    "Check the port: brokers listen on 443 or 60443 unless they were set up otherwise.";

constexpr const char *try_without_proxy =
    "Check the broker's name and port. If it is in your own network, try --proxy none.";
constexpr const char *check_proxy =
    "Check its address: it comes from --proxy or from this machine's settings. If it is right, "
    "check this machine's network, and whether the proxy is running.";
constexpr const char *check_kind =
    "Check the port and the kind: http, https, socks5 and socks5h are not the same.";
constexpr const char *proxy_forbids =
    "The proxy {2} does not let anybody through to {0}, port {1}.";
constexpr const char *ask_for_a_way =
    "Have its administrator allow it: many proxies allow port 443 only. If the broker is in your "
    "own network, try --proxy none.";
constexpr const char *proxy_finds_none = "The proxy {2} does not get through to {0}, port {1}.";
constexpr const char *no_such_proxy = "What answers at {2} is no proxy of that kind.";

/// The first that holds counts; the last one always does.
constexpr Finding findings[] = {
    {"healthy", {.result = KAVRO_BROKER_OK}, "The broker at {0}, port {1}, is healthy.", ""},
    {"unknown-code",
     {.result = KAVRO_BROKER_ERR_CONNECT_RESOLVE_FAILED, .reached = "prepare"},
     "The registration code {0} is not in the table of codes.",
     "Check its spelling. A new code needs a new table: try again when the registration service "
     "can be reached."},
    {"unusable-port",
     {.usable_port = false},
     "The port {1} cannot be used.",
     "A port is a number from 1 to 65535. Brokers listen on 443 or 60443 unless they were set up "
     "otherwise.",
     ExitStatus::usage},
    {"proxy-failed",
     {.result = KAVRO_BROKER_ERR_PROXY_FAILED, .reached = "prepare"},
     "The proxy that this machine is set to cannot be used.",
     "Correct the setting (on Linux https_proxy, as http://proxy.example:3128), or give a proxy "
     "with --proxy."},
    {"proxy-failed",
     {.result = KAVRO_BROKER_ERR_PROXY_FAILED, .reached = "resolve"},
     "The name of the proxy {2} has no address.",
     check_proxy},
    {"proxy-failed",
     {.result = KAVRO_BROKER_ERR_PROXY_FAILED, .reached = "connect"},
     "The proxy {2} cannot be reached.",
     check_proxy},
    {"proxy-failed",
     {.result = KAVRO_BROKER_ERR_TIMEOUT, .reached = "connect", .proxied = true},
     "The proxy {2} cannot be reached.",
     check_proxy},
    {"proxy-silent",
     {.result = KAVRO_BROKER_ERR_TIMEOUT, .reached = "proxy"},
     "The proxy {2} does not say whether it gets through to {0}, port {1}.",
     "It may be looking for the broker in vain: check the broker's name and port, then have the "
     "proxy looked at."},
    {"proxy-log-in",
     {.result = KAVRO_BROKER_ERR_PROXY_AUTH_REQUIRED, .error = "(Negotiate"},
     "The proxy {2} wants a log-in, and takes tickets.",
     "The other commands show it the ticket that you have on this machine (klist, kinit), or give "
     "them --proxy-user and --proxy-password-fd. This one tells nobody who you are, and so it "
     "cannot look behind the proxy."},
    {"proxy-log-in",
     {.result = KAVRO_BROKER_ERR_PROXY_AUTH_REQUIRED},
     "The proxy {2} wants a log-in.",
     "Give the other commands --proxy-user and --proxy-password-fd. This one tells nobody a name "
     "or a password, and so it cannot look behind the proxy."},
    {"proxy-failed",
     {.result = KAVRO_BROKER_ERR_PROXY_FAILED, .first_status = 400, .last_status = 499},
     proxy_forbids,
     ask_for_a_way},
    {"proxy-failed",
     {.result = KAVRO_BROKER_ERR_PROXY_FAILED, .first_status = 2, .last_status = 2},
     proxy_forbids,
     ask_for_a_way},
    {"proxy-failed",
     {.result = KAVRO_BROKER_ERR_PROXY_FAILED, .first_status = 500, .last_status = 510},
     proxy_finds_none,
     try_without_proxy},
    {"proxy-failed",
     {.result = KAVRO_BROKER_ERR_PROXY_FAILED, .first_status = 1, .last_status = 6},
     proxy_finds_none,
     try_without_proxy},
    {"proxy-failed",
     {.result = KAVRO_BROKER_ERR_PROXY_FAILED, .error = "mangled"},
     no_such_proxy,
     check_kind},
    {"proxy-failed",
     {.result = KAVRO_BROKER_ERR_PROXY_FAILED, .error = "SOCKS 5"},
     no_such_proxy,
     check_kind},
    {"proxy-failed",
     {.result = KAVRO_BROKER_ERR_PROXY_FAILED, .error = "cannot be used"},
     no_such_proxy,
     check_kind},
    {"proxy-failed",
     {.result = KAVRO_BROKER_ERR_PROXY_FAILED, .error = "ended the connection"},
     "The proxy {2} ends the connection without an answer.",
     check_kind},
    {"proxy-certificate",
     {.result = KAVRO_BROKER_ERR_CERTIFICATE_FAILED_BUT_WARNABLE, .reached = "proxy"},
     "The proxy {2} shows a certificate whose issuer is not known here.",
     "Get the issuer's certificate from the proxy's administrator and give it with "
     "--trust-anchor."},
    {"proxy-certificate",
     {.result = KAVRO_BROKER_ERR_CERTIFICATE_FAILED, .reached = "proxy"},
     "The proxy {2} shows a certificate that is rejected.",
     "Use the name that the proxy was set up for, and show the report to its administrator."},
    {"unused-proxy",
     {.proxy_unused = true},
     "{0}, port {1}, cannot be reached directly, and the proxy in HTTPS_PROXY was not used.",
     "Give that proxy with --proxy, or --proxy system, and check no_proxy. If the broker is in "
     "your own network, check its address and the VPN."},
    {"unknown-name",
     {.result = KAVRO_BROKER_ERR_CONNECT_RESOLVE_FAILED},
     "The name {0} has no address.",
     "Check its spelling. The names of a company are often known only in its own network: check "
     "the VPN and the name server of this machine."},
    {"unusable-address",
     {.result = KAVRO_BROKER_ERR_INVALID_PARAMETER},
     "The address {0} cannot be used.",
     "Give a host name or an IP address, without a user name or a path."},
    {"view-broker",
     {.kind = KAVRO_BROKER_TYPE_VIEW},
     "A View broker answers at {0}, port {1}.",
     "Use a client for View brokers, or ask for the address of the other broker."},
    {"direct-host",
     {.reached = "connect", .kind = KAVRO_BROKER_TYPE_DIRECT_HOST},
     "{0} is a desktop's host or a gateway, not a broker.",
     "Connect to it directly, or ask for the broker's address."},
    {"direct-host",
     {.result = KAVRO_BROKER_ERR_TIMEOUT, .reached = "wait", .kind = KAVRO_BROKER_TYPE_DIRECT_HOST},
     "{0}, port {1}, agrees on TLS but answers no request: it may be a desktop's host or a "
     "gateway.",
     "Connect to it directly, or ask for the broker's address. If it is the broker, have its "
     "service looked at."},
    {"refused",
     {.result = KAVRO_BROKER_ERR_CONNECT_REFUSED, .reached = "connect"},
     "Nobody listens at {0}, port {1}.",
     "Check the address and the port, and whether the broker's service is running. A firewall may "
     "refuse in its place."},
    {"no-answer",
     {.result = KAVRO_BROKER_ERR_TIMEOUT, .reached = "connect"},
     "Nothing answers at {0}, port {1}.",
     "Check the address, and whether a firewall or a missing VPN is in the way: they drop packets "
     "without a word."},
    {"no-name-server",
     {.result = KAVRO_BROKER_ERR_TIMEOUT, .reached = "resolve"},
     "The name server does not answer.",
     "Check this machine's network and its name server, or give the broker's IP address."},
    {"unreachable",
     {.result = KAVRO_BROKER_ERR_CONNECT_FAILED},
     "There is no way from here to {0}.",
     "Check this machine's network, its routes and its VPN."},
    {"not-tls",
     {.reached = "handshake", .peer_speaks = "http"},
     "{0}, port {1}, speaks HTTP without TLS.",
     other_port},
    {"not-tls",
     {.reached = "handshake", .peer_speaks = "other"},
     "{0}, port {1}, does not speak TLS at all.",
     other_port},
    {"client-certificate",
     {.error = "wants a client certificate"},
     "The broker at {0}, port {1}, wants a client certificate.",
     "Give one with --client-certificate, from a card that the broker accepts."},
    {"tls-disagreement",
     {.result = KAVRO_BROKER_ERR_TLS_HANDSHAKE_FAILED},
     "No TLS connection to {0} could be agreed on.",
     "The broker must offer TLS 1.2 or 1.3 with a cipher that is in use today."},
    {"silent-before-tls",
     {.result = KAVRO_BROKER_ERR_TIMEOUT, .reached = "handshake"},
     "{0}, port {1}, takes connections and then says nothing.",
     "Check the port. If it is right, the broker's host or the device in front of it hangs."},
    {"closed-before-tls",
     {.result = KAVRO_BROKER_ERR_SOCKET_OR_SYS_FAILURE, .reached = "handshake"},
     "{0}, port {1}, closes the connection before TLS is agreed on.",
     "Another service may have the port, or a load balancer that has no broker behind it."},
    {"wrong-name",
     {.verdict = KAVRO_BROKER_CERTIFICATE_HOST_NAME_MISMATCH},
     "{0} shows a certificate for another name: {3}.",
     "Use the name that the broker was set up for: kavro-broker certificates shows it. When the "
     "name is right, a log-in page of the network may be in the way: open a web page in a browser, "
     "and log in there."},
    {"expired",
     {.verdict = KAVRO_BROKER_CERTIFICATE_EXPIRED},
     "{0} shows a certificate that has expired.",
     "Have the broker's administrator renew it, after a look at this machine's clock."},
    {"not-yet-valid",
     {.verdict = KAVRO_BROKER_CERTIFICATE_NOT_YET_VALID},
     "{0} shows a certificate that is not valid yet.",
     "Set this machine's clock. If it is right, the broker's was wrong when the certificate was "
     "made."},
    {"weak-key",
     {.verdict = KAVRO_BROKER_CERTIFICATE_KEY_TOO_SHORT},
     "{0} shows a certificate with a key that is too short.",
     "Have the broker's administrator get one with a longer key."},
    {"no-authorities",
     {.error = "no authority could be read: "},
     "Nobody's certificates are trusted on this machine: not one authority could be read.",
     "Install the system's authorities (the package ca-certificates), or correct the variables "
     "SSL_CERT_FILE and SSL_CERT_DIR. The places that were looked at stand below."},
    {"self-signed",
     {.verdict = KAVRO_BROKER_CERTIFICATE_SELF_SIGNED},
     "{0} shows a certificate that it has signed itself.",
     "Ask the administrator for the certificate's fingerprint. If it is the one that kavro-broker "
     "certificates shows, give it with --pin. If not, somebody else answers, as a log-in page of "
     "the network does: open a web page in a browser, and log in there."},
    {"unknown-authority",
     {.result = KAVRO_BROKER_ERR_CERTIFICATE_FAILED_BUT_WARNABLE},
     "{0} shows a certificate whose issuer is not known here.",
     "Get the issuer's certificate from the administrator and give it with --trust-anchor, or "
     "install it on this machine. Do not go on before: somebody may stand in between."},
    {"bad-certificate",
     {.result = KAVRO_BROKER_ERR_CERTIFICATE_FAILED},
     "{0} shows a certificate that is rejected.",
     "Show the report and the output of kavro-broker certificates to the administrator."},
    {"proxy-log-in",
     {.first_status = 407, .last_status = 407},
     "A proxy on the way to {0} wants a log-in.",
     "Ask the network's administrator for a way to the broker that needs none, or for the log-in.",
     ExitStatus::unreachable},
    {"network-log-in",
     {.first_status = 511, .last_status = 511},
     "The network wants a log-in before it lets anybody through to {0}.",
     "Open a web page in a browser, log in there, and try again.",
     ExitStatus::unreachable},
    {"proxy-failed",
     {.result = KAVRO_BROKER_ERR_PROXY_FAILED},
     "The proxy {2} does not lead to {0}, port {1}.",
     check_proxy},
    {"redirected",
     {.first_status = 300, .last_status = 399},
     "{0}, port {1}, sends its callers to another place.",
     portal},
    {"web-page", {.answer = "html"}, "{0}, port {1}, answers with a web page.", portal},
    {"no-broker",
     {.first_status = 400, .last_status = 499},
     "A web server answers at {0}, port {1}, but it has no broker.",
     other_port},
    {"server-failure",
     {.first_status = 500, .last_status = 599},
     "The web server in front of the broker at {0} reports a failure.",
     "Have the broker's service looked at: it may be down or overloaded."},
    {"wrong-version",
     {.result = KAVRO_BROKER_ERR_UNSUPPORTED_VERSION},
     "The broker at {0} speaks another version of the protocol.",
     "Update this client or the broker: versions 2.0 and 2.1 are understood here."},
    {"not-a-broker",
     {.reached = "parse"},
     "What answers at {0}, port {1}, does not speak a broker's language.",
     other_port},
    {"lost",
     {.result = KAVRO_BROKER_ERR_SOCKET_OR_SYS_FAILURE},
     "{0}, port {1}, broke the connection off.",
     "Try again. If it stays so, have the broker and the devices in front of it looked at."},
    {"silent-after-tls",
     {.reached = "wait"},
     "{0}, port {1}, agrees on TLS but does not answer the request.",
     "Have the broker's service looked at: it may hang or be overloaded."},
    {"broker-failure",
     {.reached = "answered"},
     "The broker at {0} answers with an error.",
     "Show the report to the broker's administrator."},
    {"unknown",
     {},
     "The broker at {0} cannot be used.",
     "Show the report to the broker's administrator."},
};

std::string text_at(const Json &object, const char *key) {
    const Json text = object.is_object() ? object.value(key, Json()) : Json();
    return text.is_string() ? text.get<std::string>() : "";
}

bool is_proxied(const Json &connection) {
    return connection.value("proxy", Json()).is_object();
}

bool is(const char *wanted, const std::string &text) {
    return wanted == nullptr || wanted == text;
}

bool is_usable_port(const std::string &text) {
    unsigned port = 443;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    return text.empty() ||
           (error == std::errc() && end == text.data() + text.size() && port - 1 < 65535);
}

bool has_verdict(const Json &connection, uint32_t wanted) {
    return connection.is_object() &&
           std::ranges::any_of(
               connection.value("certificates", Json::array()),
               [wanted](const Json &certificate) { return certificate["code"] == wanted; });
}

/// Of HTTP, or of the proxy while that has not consented.
int status_of(const Json &connection) {
    for (const char *const place : {"/http_status", "/proxy/status"})
        if (const Json status = connection.value(Json::json_pointer(place), Json());
            status.is_number())
            return status.get<int>();
    return 0;
}

/// Whether there is a proxy that was not used, and no other way.
bool has_unused_proxy(const Evidence &evidence) {
    const std::string reached = text_at(evidence.connection(), "reached");
    return evidence.environment_names_proxy && !is_proxied(evidence.connection()) &&
           (reached == "resolve" || reached == "connect");
}

bool holds(const Condition &condition, const Evidence &evidence) {
    const Json &connection = evidence.connection();
    const int status = status_of(connection);
    return (!condition.result || *condition.result == evidence.result.code) &&
           is(condition.reached, text_at(connection, "reached")) &&
           (!condition.verdict || has_verdict(connection, *condition.verdict)) &&
           is(condition.peer_speaks, text_at(connection, "peer_speaks")) &&
           is(condition.answer, text_at(connection, "answer")) &&
           (condition.error == nullptr ||
            text_at(connection, "error").find(condition.error) != std::string::npos) &&
           (condition.usable_port || !is_usable_port(evidence.port)) &&
           condition.first_status <= status && status <= condition.last_status &&
           (!condition.proxied || is_proxied(connection)) &&
           (!condition.proxy_unused || has_unused_proxy(evidence)) &&
           (condition.kind == 0 || condition.kind == evidence.kind);
}

/// The furthest that a connection came, as a number.
auto progress(const Json &connection) {
    static constexpr std::string_view phases[] = {"prepare",   "resolve", "connect", "proxy",
                                                  "handshake", "ready",   "send",    "wait",
                                                  "receive",   "parse",   "answered"};
    return std::ranges::find(phases, text_at(connection, "reached")) - std::begin(phases);
}

/// The port, or all that were tried in vain.
std::string ports_of(const Evidence &evidence) {
    const Json &connection = evidence.connection();
    if (!evidence.report["second_port"].get<bool>() || connection.value("reached", "") != "connect")
        return evidence.port.empty() ? text_at(connection, "port") : evidence.port;
    std::string ports;
    for (const Json &tried : evidence.report["connections"])
        ports += (ports.empty() ? "" : " or ") + text_at(tried, "port");
    return ports;
}

/// By its names, or else by its owner.
std::string good_for(const Evidence &evidence) {
    const auto &chain = evidence.result.certificates;
    const std::string names = names_of(chain);
    return names.empty() && !chain.empty() ? chain.front().subject : names;
}

} // namespace

std::string proxy_of(const nlohmann::ordered_json &connection) {
    if (!is_proxied(connection))
        return "";
    const Json &proxy = connection["proxy"];
    const std::string host = text_at(proxy, "host");
    return fmt::format(fmt::runtime(host.find(':') == host.npos ? "{}://{}:{}" : "{}://[{}]:{}"),
                       text_at(proxy, "kind"), host, text_at(proxy, "port"));
}

const Json &Evidence::connection() const {
    static const Json none = Json::object();
    const Json &all = report["connections"];
    if (all.empty())
        return none;
    if (result.code != KAVRO_BROKER_OK && !report["second_port"].get<bool>())
        return all.back();
    return *std::ranges::max_element(all, {}, progress);
}

Diagnosis diagnose(const Evidence &evidence) {
    const auto *finding = std::ranges::find_if(
        findings, [&](const Finding &candidate) { return holds(candidate.condition, evidence); });
    const std::string host = text_at(evidence.connection(), "host");
    const std::string words =
        fmt::format(fmt::runtime(finding->words), host.empty() ? evidence.broker : host,
                    ports_of(evidence), proxy_of(evidence.connection()), good_for(evidence));
    const std::string &before = evidence.result.before;
    return {finding->name, before.empty() ? words : before + " " + words, finding->advice,
            finding->status.value_or(evidence.result.status)};
}

} // namespace kavro_cli
