#include "conversation/conversation.h"
#include "support/unreachable.h"

#include <functional>
#include <regex>

using namespace conversation;

namespace {

/// The lines that requests leave, with their severities. A message is shown by its name only, and
/// what differs from run to run is masked.
std::string logged(const std::function<void()> &requests) {
    static const std::pair<std::regex, const char *> masks[] = {
        {std::regex("[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}"), "ID"},
        {std::regex("(127\\.0\\.0\\.1\\D+)\\d+"), "$1PORT"},
        {std::regex("<kavro-client version=\"2.1\">\n  (<[a-z-]+>)[^]*"), "$1"},
    };
    constexpr const char *severities[] = {"banner", "error", "info", "debug", "verbose"};
    const Log log;
    requests();
    std::string lines;
    for (const auto &[category, severity, error, text] : Log::lines()) {
        std::string masked = text;
        for (const auto &[pattern, name] : masks)
            masked = std::regex_replace(masked, pattern, name);
        EXPECT_EQ(category, KAVRO_BROKER_LOG_CATEGORY_GENERAL) << masked;
        lines += severities[severity] + (error ? std::to_string(error) : "") + ": " + masked + "\n";
    }
    return lines;
}

const std::string cleared = "debug: Deadline Timer timeout cleared.\n"
                            "debug: Deadline Timer was cancelled.\n";
const std::string dropped = "debug: Deadline Timer was cancelled.\n";
const std::string late = "debug: Deadline Timer has expired!\n";
const std::string disconnected = "verbose: EXIT: HttpsXmlClient::disconnect\n";
const std::string log_id = "info: Client-Log-ID: ID\n";

std::string connecting(const std::string &limit) {
    return "debug: ENTRY: HttpsXmlClient::connect, connect_securely=TRUE\n"
           "debug: Connecting to https://127.0.0.1:PORT (port ) with timeout of " +
           limit +
           " milliseconds\n"
           "info: parse_uri (https://127.0.0.1:PORT). Input: hostname (), port (), protocol ()\n"
           "debug: IPv4/FQDN parsed successfully. "
           "Output: hostname (127.0.0.1), port (PORT), protocol (https)\n"
           "debug: Deadline Timer timeout set to " +
           limit +
           " milliseconds.\n"
           "verbose: EXIT: HttpsXmlClient::connect\n";
}

std::string connected(const std::string &limit) {
    const auto certificate = [](const char *name, const char *depth, const char *key) {
        return "debug: HttpsXmlClient::verify_server_pbp( preverified=TRUE ), security_mode=TRUE\n"
               "debug: HttpsXmlClient::verify_server_pbp() validating '/CN=" +
               std::string(name) + "' (depth " + depth + ")\nverbose: Valid certificate " + key +
               "\ninfo: verify_server_pbp result is PASSED, pre=TRUE sys=FALSE hn=TRUE kl=TRUE "
               "ocsp=TRUE sscl=FALSE error[" +
               depth + "]=0\n";
    };
    return connecting(limit) + certificate("Broker Simulator CA", "1", "EC key length=256") +
           certificate("Broker Simulator", "0", "RSA key length=2048") + cleared +
           "error-500: get_local_mac_address() received loopback ip address, returning fallback\n" +
           log_id;
}

std::string posted(const std::string &message, const std::string &limit) {
    return "info: Sending XML: -------------------------\n"
           "info: " +
           message + "\ndebug: Deadline Timer timeout set to " + limit + " milliseconds.\n";
}

std::string exchange(const std::string &message, const std::string &answer,
                     const std::string &limit = "30000") {
    return connected("30000") + posted(message, limit) +
           "info: Received XML: ------------------------\n"
           "info: " +
           answer + "\n" + cleared + disconnected;
}

TEST(LogLineByLine, FromGreetingToGoodBye) {
    auto scenario = broker_sim::Scenario::demo();
    scenario.authentication.erase(
        scenario.authentication.begin()); // the password alone is asked for
    Conversation talk(scenario);
    EXPECT_EQ(logged([&] {
                  kavro_broker_send_password(talk.handle, "alice", "EXAMPLE", "wonderland");
                  talk.list();
                  kavro_broker_clear_session(talk.handle);
              }),
              exchange("<hello>", "<hello-resp>") +
                  exchange("    <username> *****</username>\n    <password> *****</password>\n",
                           "<authenticate-resp>", "40000") +
                  exchange("<get-resource-list>", "<get-resource-list-resp>") +
                  exchange("<bye>", "<bye-resp>"));
}

TEST(LogLineByLine, OfWhatFails) {
    using broker_sim::Ending;
    using broker_sim::Stage;
    const test_support::RefusingPort nobody;
    const std::string handshake = "info: HttpsXmlClient::handle_handshake, Handshake failure: "
                                  "e.category='asio.ssl.stream', e.value=1, "
                                  "e.message='stream truncated'\n";
    const std::string lost = "error1: cHTTPS_XML_CLIENT encountered error val=1 "
                             "cat='asio.ssl.stream' message='stream truncated'\n";
    const std::string sent = connected("400") + posted("<hello>", "400");
    const struct {
        const char *what;
        broker_sim::Fault fault; ///< without an ending, nobody listens
        std::string lines;
    } rows[] = {
        {"refused", {}, connecting("400") + dropped + log_id},
        {"no connection",
         {.stage = Stage::accept, .ending = Ending::stall},
         connecting("400") + late + log_id},
        {"no handshake",
         {.stage = Stage::handshake, .ending = Ending::stall},
         connecting("400") + late + log_id},
        {"handshake ended",
         {.stage = Stage::handshake, .ending = Ending::fin},
         connecting("400") + cleared + handshake + log_id},
        {"no answer", {.ending = Ending::stall}, sent + late + disconnected},
        {"answer ended",
         {.ending = Ending::fin, .at_byte = 20},
         sent + cleared + lost + disconnected},
        {"no HTTP/1.1",
         {.ending = Ending::stall, .at_byte = 5000, .status_line = "HTTP/2 200 OK"},
         sent + cleared + "error-500: The HTTP response is mangled: not HTTP/1.1\n" + disconnected},
    };
    for (const auto &[what, fault, lines] : rows) {
        Conversation talk(open_door(), 400ms);
        if (fault.ending == Ending::none)
            kavro_broker_set_broker_address(talk.handle, "127.0.0.1", nobody.port().c_str());
        talk.broker.inject(fault);
        EXPECT_EQ(logged([&] { talk.list(); }), lines) << what;
    }
    Conversation talk(open_door());
    const std::string unknown = std::string(64, 'x') + ".test"; // too long a label to ask for
    kavro_broker_set_broker_address(talk.handle, unknown.c_str(), "443");
    const std::string lines = logged([&] { talk.list(); });
    EXPECT_TRUE(lines.ends_with("EXIT: HttpsXmlClient::connect\n" + cleared + log_id)) << lines;
}

} // namespace
