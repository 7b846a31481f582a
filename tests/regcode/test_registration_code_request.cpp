#include "conversation/short_deadlines.h"
#include "regcode/table_cache.h"
#include "support/system.h"

using namespace conversation;

namespace {

TEST(RegistrationCode, StandsForTheAddressInTheTable) {
    const std::string folder = test_support::fresh_folder().string();
    Conversation talk(without_authentication());
    const std::string broker = "127.0.0.1:" + std::to_string(talk.broker.port());
    const std::string header = "127.0.0.1\\r\\nX-Injected: 1:443";
    kavro::write_table_cache(folder, R"({"GOOD": ")" + broker + R"(", "URL": "https://)" + broker +
                                         R"(/path", "NOPORT": "127.0.0.1",
        "LINES": ")" + header + R"(", "LONG": ")" +
                                         std::string(30'000, 'a') +
                                         R"(", "SCHEME": "http://",
        "USER": "user@127.0.0.1:443", "PORT": "127.0.0.1:99999"})");
    kavro_broker_set_cache_file_location(folder.c_str());
    kavro_broker_set_broker_variant(talk.handle, KAVRO_BROKER_VARIANT_REGISTRATION_CODE);
    const auto port = std::to_string(talk.broker.port());
    const struct {
        const char *code;
        kavro_broker_result result;
        std::string resolved;
    } rows[] = {
        {"GOOD", KAVRO_BROKER_OK, broker},
        {"GOOD+ignored", KAVRO_BROKER_OK, broker},
        {"URL", KAVRO_BROKER_OK, "https://" + broker + "/path"},
        {"NOPORT", KAVRO_BROKER_OK, "127.0.0.1"},
        {"UNKNOWN", KAVRO_BROKER_ERR_CONNECT_RESOLVE_FAILED, ""},
        {"LINES", KAVRO_BROKER_ERR_INVALID_PARAMETER, "127.0.0.1\r\nX-Injected: 1:443"},
        {"LONG", KAVRO_BROKER_ERR_INVALID_PARAMETER, std::string(30'000, 'a')},
        {"SCHEME", KAVRO_BROKER_ERR_INVALID_PARAMETER, "http://"},
        {"USER", KAVRO_BROKER_ERR_INVALID_PARAMETER, "user@127.0.0.1:443"},
        {"PORT", KAVRO_BROKER_ERR_INVALID_PARAMETER, "127.0.0.1:99999"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.code);
        kavro_broker_set_broker_address(talk.handle, row.code, port.c_str());
        EXPECT_EQ(talk.list(), row.result) << talk.message();
        EXPECT_EQ(text_of(kavro_broker_get_resolved_broker_address, talk.handle), row.resolved);
    }
    EXPECT_NE(Log::text().find("Unable to convert registration code:https://UNKNOWN to an URL\n"),
              std::string::npos);
    kavro_broker_set_cache_file_location("");
    std::filesystem::remove_all(folder);
}

} // namespace
