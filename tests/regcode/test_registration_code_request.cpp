#include "conversation/conversation.h"
#include "json_writer.h"
#include "table_folder.h"

using namespace conversation;

namespace {

TEST(RegistrationCode, StandsForTheAddressInTheTable) {
    constexpr auto invalid = KAVRO_BROKER_ERR_INVALID_PARAMETER;
    Conversation talk(open_door());
    const auto port = std::to_string(talk.broker.port());
    const struct {
        std::string code, address;
        kavro_broker_result result;
    } rows[] = {
        {"GOOD", "127.0.0.1:" + port, KAVRO_BROKER_OK},
        {"URL", "https://127.0.0.1:" + port + "/path", KAVRO_BROKER_OK},
        {"NOPORT", "127.0.0.1", KAVRO_BROKER_OK},
        {"LINES", "127.0.0.1\r\nX-Injected: 1:443", invalid},
        {"LONG", std::string(30'000, 'a'), invalid},
        {"SCHEME", "http://", invalid},
        {"USER", "user@127.0.0.1:443", invalid},
        {"PORT", "127.0.0.1:99999", invalid},
        {"NOTHING", "", KAVRO_BROKER_ERR_CONNECT_RESOLVE_FAILED},
    };
    kavro::JsonWriter json;
    json.object([&] {
        for (const auto &row : rows)
            json.name(row.code).text(row.address);
    });
    const kavro::TableFolder table(json.take());
    kavro_broker_set_broker_variant(talk.handle, KAVRO_BROKER_VARIANT_REGISTRATION_CODE);
    for (const auto &row : rows) {
        SCOPED_TRACE(row.code);
        kavro_broker_set_broker_address(talk.handle, row.code.c_str(), port.c_str());
        EXPECT_EQ(talk.list(), row.result) << talk.message();
        EXPECT_EQ(text_of(kavro_broker_get_resolved_broker_address, talk.handle), row.address);
    }
    EXPECT_NE(Log::text().find("Unable to convert registration code:https://NOTHING to an URL\n"),
              std::string::npos);
}

} // namespace
