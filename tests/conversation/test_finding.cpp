// From what a user knows of a broker to a desktop: probes, registration codes, provisioning, OAuth.
#include "conversation/conversation.h"
#include "system.h"

#include <array>
#include <filesystem>

using namespace conversation;
using broker_sim::Ending;
using broker_sim::Scenario;
namespace server_name = broker_sim::server_name;

namespace {

/// The process's table of registration codes, as the simulator would have had it downloaded.
class CachedTable {
public:
    explicit CachedTable(const broker_sim::Simulator &simulator) {
        simulator.write_table_cache(folder_);
        kavro_broker_set_cache_file_location(folder_.string().c_str());
    }
    ~CachedTable() { std::filesystem::remove_all(folder_); }
    CachedTable(const CachedTable &) = delete;
    CachedTable &operator=(const CachedTable &) = delete;

private:
    const std::filesystem::path folder_ = test_support::fresh_folder();
};

std::string url_of(const broker_sim::Simulator &simulator) {
    return "https://" + simulator.address() + ":" + std::to_string(simulator.port());
}

TEST(Finding, TellsEveryKindOfServerFromTheOthers) {
    Conversation talk;
    const CachedTable table(talk.broker);
    const auto port_of = [&](std::string_view server) {
        return std::to_string(talk.broker.port(server));
    };
    const struct {
        std::string address, port;
        uint32_t type;
        std::string resolved;
    } rows[] = {
        {"127.0.0.1", port_of(server_name::broker), KAVRO_BROKER_TYPE_KAVRO, ""},
        {"127.0.0.1", port_of(server_name::view_broker), KAVRO_BROKER_TYPE_VIEW, ""},
        {"127.0.0.1", port_of(server_name::direct_host), KAVRO_BROKER_TYPE_DIRECT_HOST, ""},
        {"DEMO+4711", "1", KAVRO_BROKER_TYPE_AWS, url_of(talk.broker)},
    };
    kavro_broker_type_finder finder = nullptr;
    ASSERT_EQ(kavro_broker_create_type_finder(&finder), KAVRO_BROKER_OK);
    for (const auto &[address, port, type, resolved] : rows) {
        uint32_t found = 0;
        std::array<char, 200> resolved_address{};
        std::array<char, 10> answering{};
        EXPECT_EQ(kavro_broker_find_type_extended(finder, address.c_str(), port.c_str(), &found,
                                                  resolved_address.data(), resolved_address.size(),
                                                  answering.data(), answering.size()),
                  KAVRO_BROKER_OK)
            << port;
        EXPECT_EQ(found, type) << port;
        EXPECT_EQ(resolved_address.data(), resolved);
        EXPECT_EQ(answering.data(), port);
    }
    kavro_broker_free_type_finder(finder);
}

TEST(Finding, LeadsFromACodeToADesktopThatIsProvisioned) {
    Conversation talk;
    const CachedTable table(talk.broker);
    kavro_broker_set_broker_variant(talk.handle, KAVRO_BROKER_VARIANT_REGISTRATION_CODE);
    kavro_broker_set_broker_address(talk.handle, "nobody's", nullptr);
    uint32_t method = 0;
    EXPECT_EQ(kavro_broker_get_auth_method(talk.handle, &method),
              KAVRO_BROKER_ERR_CONNECT_RESOLVE_FAILED);
    EXPECT_EQ(talk.broker.connections(), 0u);

    kavro_broker_set_broker_address(talk.handle, "DEMO+4711", nullptr);
    ASSERT_EQ(talk.log_in(), KAVRO_BROKER_OK) << talk.message();
    EXPECT_EQ(text_of(kavro_broker_get_resolved_broker_address, talk.handle), url_of(talk.broker));
    ASSERT_EQ(talk.allocate("desktop-office"), KAVRO_BROKER_OK);
    EXPECT_EQ(talk.broker.connections(server_name::provisioning), 0u);

    ASSERT_EQ(talk.allocate("desktop-design"), KAVRO_BROKER_OK) << talk.message();
    EXPECT_EQ(talk.broker.connections(server_name::provisioning), 1u);
    EXPECT_EQ(talk.property(KAVRO_BROKER_CONNECTION_HOST_NAME), "agent-1.example");
    EXPECT_EQ(talk.property(KAVRO_BROKER_CONNECTION_CONNECT_TAG), "SCS1demoConnectTag");
    EXPECT_EQ(talk.property(KAVRO_BROKER_CONNECTION_GATEWAY_TICKET), "demo-gateway-ticket");
    uint32_t alternates = 0;
    EXPECT_EQ(kavro_broker_get_num_desktop_connection_alternate_targets(talk.target, &alternates),
              0u);
    EXPECT_EQ(alternates, 1u);
}

TEST(Finding, ProvisioningThatFailsIsToldApart) {
    Scenario scenario = Scenario::demo();
    scenario.authentication.clear();
    Conversation talk(scenario);
    const broker_sim::Match provisioning{.server = "provisioning"};
    const broker_sim::Override answers[] = {
        {.match = provisioning, .body = "garbage"},
        {.match = provisioning, .status = 500},
        {.match = provisioning, .result_id = "SESSION_PROVISION_FAILED"},
        {.match = provisioning, .error_id = "ERR_INVALID_SESSION"},
    };
    for (const auto &answer : answers) {
        talk.broker.set_override(answer);
        EXPECT_EQ(talk.allocate("desktop-design"),
                  KAVRO_BROKER_ERR_SESSION_PROVISION_SERVER_CONNECT_FAILED);
        talk.broker.clear_faults();
    }
    talk.broker.inject({.match = provisioning, .ending = Ending::reset, .at_byte = 30});
    EXPECT_EQ(talk.allocate("desktop-design"),
              KAVRO_BROKER_ERR_SESSION_PROVISION_SERVER_CONNECT_FAILED);
    talk.broker.clear_faults();
    EXPECT_EQ(talk.allocate("desktop-design"), KAVRO_BROKER_OK) << talk.message();

    scenario.provisioning->leaf_certificate = talk.broker.ca_pem();
    Conversation impostor(scenario);
    EXPECT_EQ(impostor.allocate("desktop-design"),
              KAVRO_BROKER_ERR_SESSION_PROVISION_SERVER_CONNECT_FAILED);
}

TEST(Finding, AnOAuthCodeMayBeWrongOnce) {
    Conversation talk({.authentication = {{.methods = {"oauth"}, .oauth = {.code = "a<b&c"}}},
                       .desktops = {{.name = "Office", .id = "office"}}});
    uint32_t method = 0;
    EXPECT_EQ(kavro_broker_get_auth_method(talk.handle, &method),
              KAVRO_BROKER_ERR_AUTH_NOT_SUPPORTED);
    kavro_broker_enable_oauth(talk.handle, true);
    EXPECT_EQ(talk.method(), uint32_t(KAVRO_BROKER_AUTH_METHOD_OAUTH));
    EXPECT_EQ(kavro_broker_send_oauth_code(talk.handle, "stale"),
              KAVRO_BROKER_ERR_AUTH_OAUTH_CODE_INVALID);
    EXPECT_EQ(talk.method(), uint32_t(KAVRO_BROKER_AUTH_METHOD_OAUTH));
    const std::string code = text_of(kavro_broker_escape_text, "a<b&c");
    EXPECT_EQ(kavro_broker_send_oauth_code(talk.handle, code.c_str()), KAVRO_BROKER_OK)
        << talk.message();
    EXPECT_EQ(talk.list(), KAVRO_BROKER_OK);
}

} // namespace
