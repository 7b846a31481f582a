#include "broker_query_impl.h"
#include "captured_log.h"
#include "expect_abort.h"
#include "handle/fake_client.h"
#include "kavro_broker_extras.h"
#include "records.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <tuple>

namespace kavro {
namespace {

using namespace std::string_literals;

/// Pointers that need not be there, besides the buffers for texts, which never need to.
const std::map<std::string_view, std::set<std::size_t>> optional = {
    {"kavro_broker_set_broker_address", {2}}, {"kavro_broker_set_hello_client_variables", {1}},
    {"kavro_broker_connect_to_desktop", {2}}, {"kavro_broker_get_auth_dialog_field", {11}},
    {"kavro_broker_find_type", {2}},          {"kavro_broker_find_type_extended", {2}},
    {"kavro_broker_send_auth_dialog", {2}},   {"kavro_broker_set_message_function", {1, 2}},
    {"kavro_broker_set_proxy", {0, 1, 2, 3}},
};

/// Calls an export with each of its pointers null in turn, the other arguments being good.
template <class... Parameters>
void try_nulls(std::string_view name, kavro_broker_result (*function)(Parameters...),
               const auto &good) {
    const auto try_null = [&](auto index) {
        using Parameter = std::tuple_element_t<index.value, std::tuple<Parameters...>>;
        if constexpr (std::is_pointer_v<Parameter> && !std::is_same_v<Parameter, char *>) {
            if (optional.contains(name) && optional.at(name).contains(index.value))
                return;
            std::tuple<Parameters...> arguments(std::get<Parameters>(good)...);
            std::get<index.value>(arguments) = nullptr;
            EXPECT_EQ(std::apply(function, arguments), KAVRO_BROKER_ERR_INVALID_PARAMETER)
                << name << ", argument " << index.value;
        }
    };
    const auto try_each = [&]<std::size_t... I>(std::index_sequence<I...>) {
        (try_null(std::integral_constant<std::size_t, I>()), ...);
    };
    try_each(std::index_sequence_for<Parameters...>());
}

/// Where no result comes back, nulls are ignored.
template <class Result, class... Parameters>
void try_nulls(std::string_view, Result (*function)(Parameters...), const auto &) {
    if constexpr ((std::is_pointer_v<Parameters> || ...))
        function(Parameters()...);
}

struct Arguments : testing::Test {
    static void hear(void *, int32_t, int32_t, int32_t, const char *) {}
    static int sign(void *, const uint8_t *, size_t, uint8_t *, size_t *) { return 1; }
    static int sign_by(void *, uint16_t, const uint8_t *, size_t, uint8_t *, size_t *) { return 0; }

    Arguments() {
        handle.handle->auth.domains = {"EXAMPLE"};
        handle.handle->auth.dialog_fields = {{"pin", "PIN", "0", false, true, false, 1}};
        handle.handle->auth.dialog_buttons = {{"ok", "OK", true}};
        handle.handle->auth.to_client_variables =
            handle.handle->hello.broker_variables = {{"name", "value"}};
        handle.handle->hello_completed = true;
        handle.handle->report.begin();
        const auto desktops = std::make_shared<DesktopList>();
        cDESKTOP_LIST_RESULT desktop;
        desktop.resource_name = "Desktop";
        desktop.allowed[2] = true;
        desktops->add(desktop);
        desktops->sort();
        list.desktops = desktops;
        info.connection.agent_variables = {{"a", "b"}};
        info.connection.alternate_targets = {{"10.0.0.8", "other", "sni", "4173"}};
        variables.variables.resize(1);
    }

    FakeHandle handle;
    kavro_broker_handle h = handle;
    kavro_broker_desktop_list_record list;
    kavro_broker_desktop_connection_record info;
    kavro_broker_variable_list_record variables;
    broker_query_impl finder;
    char text[64] = {};
    size_t length = sizeof text;
    uint32_t number = 0;
    uint8_t flag = 0;
};

TEST_F(Arguments, NullIsRefusedWhereSomethingIsNeededElseIgnored) {
    kavro_broker_handle made = nullptr;
    kavro_broker_desktop_list made_list = nullptr;
    kavro_broker_desktop_connection_info made_info = nullptr;
    kavro_broker_variable_list made_variables = nullptr;
    kavro_broker_type_finder made_finder = nullptr;
    const kavro_broker_name_value field = {"pin", "1234"};
    const char *const words = "sixteen letters.";
    kavro_broker_desktop desktop;
    kavro_broker_desktop_connection connection;
    const std::tuple good(
        h, kavro_broker_desktop_list(&list), kavro_broker_desktop_connection_info(&info),
        kavro_broker_variable_list(&variables), kavro_broker_type_finder(&finder), &made,
        &made_list, &made_info, &made_variables, &made_finder, &field, words,
        (const uint8_t *)words, (const void *)words, (void *)text, &text[0], &length, &number,
        &flag, &desktop, &connection, &sign, &sign_by, &hear, uint32_t(0), uint16_t(1), uint8_t(1),
        sizeof(kavro_broker_text), true);
#define EXPORT(function) try_nulls(#function, function, good);
#include "exports.inc"
#undef EXPORT
    EXPECT_TRUE(handle.client->calls.empty()) << "a refused call asked the broker for something";
}

TEST_F(Arguments, ValuesOutOfRange) {
    kavro_broker_variable_list none = nullptr;
    kavro_broker_desktop desktop;
    kavro_broker_desktop_connection connection;
    const kavro_broker_name_value half_given = {"pin", nullptr};
    const std::pair<const char *, kavro_broker_result> results[] = {
        {"disclaimer 2", kavro_broker_send_accept_disclaimer(h, 2)},
        {"dialog without fields", kavro_broker_send_auth_dialog(h, "ok", nullptr, 1)},
        {"dialog field without value", kavro_broker_send_auth_dialog(h, "ok", &half_given, 1)},
        {"passwords differ", kavro_broker_send_new_password(h, "u", "d", "o", "n", "N")},
        {"confirmation 2", kavro_broker_send_certificate_confirmation(h, 2, text, text)},
        {"certificate of no length",
         kavro_broker_set_client_certificate(h, (const uint8_t *)text, 0, sign, text)},
        {"idle for 301 s", kavro_broker_keep_connection(h, 301)},
        {"limit 4", kavro_broker_set_time_limit(h, 4, 1000)},
        {"no time", kavro_broker_set_time_limit(h, KAVRO_BROKER_LIMIT_CONNECT, 99)},
        {"over an hour", kavro_broker_set_time_limit(h, KAVRO_BROKER_LIMIT_CONNECT, 3600001)},
        {"proxy", kavro_broker_set_proxy(h, "http://ann@p.test:1", nullptr, nullptr)},
        {"domain", kavro_broker_get_auth_domain(h, 1, text, &length)},
        {"hello variable",
         kavro_broker_get_hello_broker_variable(h, 1, text, &length, text, &length)},
        {"certificate", kavro_broker_get_broker_certificate(h, 0, &flag, &length)},
        {"verdict", kavro_broker_get_certificate_error(h, 0, &number)},
        {"desktop", kavro_broker_get_desktop_name(&list, 1, text, &length)},
        {"desktop's record", kavro_broker_get_desktop(&list, 1, &desktop, sizeof desktop)},
        {"size of a desktop", kavro_broker_get_desktop(&list, 0, &desktop, 15)},
        {"size of a target", kavro_broker_get_desktop_connection(&info, &connection, 15)},
        {"operation 5", kavro_broker_get_desktop_operation_allowed(&list, 0, 5, &flag)},
        {"property 10", kavro_broker_get_desktop_connection_property(&info, 10, text, &length)},
        {"alternate target",
         kavro_broker_get_desktop_connection_alternate_target(
             &info, 1, text, &length, text, &length, text, &length, text, &length)},
        {"variable", kavro_broker_set_variable(&variables, 1, "a", "b")},
        {"empty list", kavro_broker_create_variable_list(0, &none)},
    };
    for (const auto &[what, result] : results)
        EXPECT_EQ(result, KAVRO_BROKER_ERR_INVALID_PARAMETER) << what;
    EXPECT_TRUE(handle.client->calls.empty());
}

/// Into no buffer, none, one byte too few, exactly enough and any number more.
TEST_F(Arguments, TextsAreCopiedByOneRule) {
    EXPECT_EQ(kavro_broker_get_desktop_name(&list, 0, nullptr, &length), KAVRO_BROKER_OK);
    EXPECT_EQ(length, sizeof "Desktop");
    for (const std::size_t given : {std::size_t(0), std::size_t(7), std::size_t(8), SIZE_MAX}) {
        const bool fits = given >= sizeof "Desktop";
        std::string buffer(65, '#');
        length = given;
        EXPECT_EQ(kavro_broker_get_desktop_name(&list, 0, buffer.data(), &length),
                  fits ? KAVRO_BROKER_OK : KAVRO_BROKER_ERR_BUFFER_TOO_SMALL);
        EXPECT_EQ(length, sizeof "Desktop");
        EXPECT_EQ(buffer, fits ? "Desktop\0"s + std::string(57, '#') : std::string(65, '#'));
    }
}

/// By callers who know of the first text only, of all there is, and of more.
TEST_F(Arguments, ARecordIsWrittenAsFarAsItsReaderKnowsIt) {
    info.connection.port = "4172";
    info.connection.use_broker_address = true;
    for (const std::size_t size : {sizeof(kavro_broker_text), sizeof(kavro_broker_desktop),
                                   sizeof(kavro_broker_desktop_connection), std::size_t(192)}) {
        union {
            char bytes[200];
            kavro_broker_desktop desktop;
            kavro_broker_desktop_connection target;
        } room;
        const auto is_kept_from = [&room](std::size_t written) {
            return std::ranges::count(room.bytes + written, std::end(room.bytes), '#') ==
                   std::ptrdiff_t(sizeof room - written);
        };
        std::ranges::fill(room.bytes, '#');
        ASSERT_EQ(kavro_broker_get_desktop(&list, 0, &room.desktop, size), KAVRO_BROKER_OK);
        EXPECT_STREQ(room.desktop.name.data, "Desktop");
        EXPECT_TRUE(size < sizeof room.desktop ||
                    (*room.desktop.health.data == '\0' && room.desktop.operations == 1u << 2));
        EXPECT_TRUE(is_kept_from(std::min(size, sizeof room.desktop)));
        std::ranges::fill(room.bytes, '#');
        ASSERT_EQ(kavro_broker_get_desktop_connection(&info, &room.target, size), KAVRO_BROKER_OK);
        EXPECT_STREQ(room.target.address.data, "");
        EXPECT_TRUE(size < sizeof room.target ||
                    (room.target.port.size == 4 && room.target.use_broker_address == 1u));
        EXPECT_TRUE(is_kept_from(std::min(size, sizeof room.target)));
    }
}

TEST_F(Arguments, APairStopsAtTheNameThatDoesNotFit) {
    char value[8] = "kept";
    size_t name_length = 1, value_length = sizeof value;
    EXPECT_EQ(
        kavro_broker_get_auth_to_client_variable(h, 0, text, &name_length, value, &value_length),
        KAVRO_BROKER_ERR_BUFFER_TOO_SMALL);
    EXPECT_STREQ(value, "kept");
    EXPECT_EQ(value_length, sizeof value);
}

TEST_F(Arguments, AFlagAmongThePropertiesIsOneByte) {
    constexpr uint32_t property = KAVRO_BROKER_CONNECTION_USE_BROKER_ADDRESS;
    info.connection.use_broker_address = true;
    length = 0;
    text[1] = '#';
    for (char *buffer : {text, static_cast<char *>(nullptr)})
        EXPECT_EQ(kavro_broker_get_desktop_connection_property(&info, property, buffer, &length),
                  KAVRO_BROKER_OK);
    EXPECT_EQ(length, 1u);
    EXPECT_EQ(text[0], 1);
    EXPECT_EQ(text[1], '#');
}

TEST_F(Arguments, VariableLists) {
    kavro_broker_variable_list made = nullptr;
    ASSERT_EQ(kavro_broker_create_variable_list(2, &made), KAVRO_BROKER_OK);
    EXPECT_EQ(kavro_broker_set_variable(made, 1, "name", "first"), KAVRO_BROKER_OK);
    EXPECT_EQ(kavro_broker_set_variable(made, 1, "name", "second"), KAVRO_BROKER_OK);
    EXPECT_EQ(kavro_broker_set_hello_client_variables(h, made), KAVRO_BROKER_OK);
    kavro_broker_free_variable_list(made);
    EXPECT_EQ(handle.handle->hello_client_variables.at(1), std::pair("name"s, "second"s));
    EXPECT_EQ(kavro_broker_set_hello_client_variables(h, nullptr), KAVRO_BROKER_OK);
    EXPECT_TRUE(handle.handle->hello_client_variables.empty());
}

TEST(CreateDeathTest, WithoutALogFunction) {
    // A log function is never taken back: only a process of its own has none for sure.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    kavro_broker_handle handle = reinterpret_cast<kavro_broker_handle>(1);
    const auto is_refused = [&handle] {
        return kavro_broker_create(KAVRO_BROKER_TYPE_KAVRO, &handle) ==
                   KAVRO_BROKER_ERR_NO_LOG_FUNCTION &&
               handle == nullptr;
    };
    EXPECT_EXIT(_exit(is_refused() ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST(DestroyDeathTest, ClientsOfAKindThatNobodyCanDestroy) {
    // A kind that no client has, and View, but there is no plug-in.
    for (const uint32_t kind :
         {0u, uint32_t(KAVRO_BROKER_TYPE_AWS), uint32_t(KAVRO_BROKER_TYPE_VIEW)}) {
        FakeClient client;
        client.kind = kind;
        expect_abort([&client] { cBROKER_FACTORY::destroy(&client); }, "",
                     "cBROKER_FACTORY::destroy");
    }
}

TEST(Create, KindsOfBroker) {
    CapturedLog log;
    kavro_broker_handle handle = nullptr;
    for (uint32_t unknown :
         {uint32_t(KAVRO_BROKER_TYPE_VIEW), uint32_t(KAVRO_BROKER_TYPE_AWS), 0u}) {
        handle = reinterpret_cast<kavro_broker_handle>(1);
        EXPECT_EQ(kavro_broker_create(unknown, &handle), KAVRO_BROKER_ERR_CREATE_FAILED);
        EXPECT_EQ(handle, nullptr);
    }
    ASSERT_EQ(kavro_broker_create(KAVRO_BROKER_TYPE_KAVRO, &handle), KAVRO_BROKER_OK);
    const auto banner = std::ranges::find(log.lines(), 0, &LogLine::severity);
    ASSERT_NE(banner, log.lines().end());
    EXPECT_TRUE(banner->text.starts_with("Moravelt Module Name = ")) << *banner;
    EXPECT_TRUE(banner->text.ends_with("KAVRO_BROKER_API Version = 9")) << *banner;
    kavro_broker_free(handle);
}

} // namespace
} // namespace kavro
