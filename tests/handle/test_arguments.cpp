#include "broker_query_impl.h"
#include "captured_log.h"
#include "expect_abort.h"
#include "handle/fake_client.h"
#include "kavro_broker_extras.h"
#include "records.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace kavro {
namespace {

int sign(void *, const uint8_t *, size_t, uint8_t *, size_t *) {
    return 1;
}

/// Calls an export with each of its pointer arguments null in turn. The arguments given here are
/// good ones; `may_be_null` marks those that need not be there.
template <class... Parameters>
void expect_required(const char *name, kavro_broker_result (*function)(Parameters...),
                     std::vector<std::size_t> may_be_null, Parameters... good) {
    std::tuple<Parameters...> arguments{good...};
    const auto try_null = [&]<std::size_t I>(std::integral_constant<std::size_t, I>) {
        using Parameter = std::tuple_element_t<I, std::tuple<Parameters...>>;
        if constexpr (std::is_pointer_v<Parameter>) {
            if (std::ranges::count(may_be_null, I) != 0)
                return;
            auto spoilt = arguments;
            std::get<I>(spoilt) = nullptr;
            EXPECT_EQ(std::apply(function, spoilt), KAVRO_BROKER_ERR_INVALID_PARAMETER)
                << name << ", argument " << I;
        }
    };
    [&]<std::size_t... I>(std::index_sequence<I...>) {
        (try_null(std::integral_constant<std::size_t, I>()), ...);
    }
    (std::index_sequence_for<Parameters...>());
}

#define REQUIRED(function, may_be_null, ...)                                                       \
    expect_required(#function, function, may_be_null, __VA_ARGS__)

using Optional = std::vector<std::size_t>;

struct Arguments : testing::Test {
    Arguments() {
        handle.handle->auth.domains = {"EXAMPLE"};
        handle.handle->auth.dialog_fields = {{"pin", "PIN", "0", false, true, false, 1}};
        handle.handle->auth.dialog_buttons = {{"ok", "OK", true}};
        handle.handle->auth.to_client_variables =
            handle.handle->hello.broker_variables = {{"name", "value"}};
        handle.handle->hello_completed = true;
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

TEST_F(Arguments, NullIsRefusedWhereverSomethingIsNeeded) {
    const char *t = "text";
    kavro_broker_handle made = nullptr;
    kavro_broker_desktop_list list_out = nullptr;
    kavro_broker_desktop_connection_info info_out = nullptr;
    kavro_broker_variable_list variables_out = nullptr;
    kavro_broker_type_finder finder_out = nullptr;
    broker_client_impl *none = nullptr;

    REQUIRED(kavro_broker_create, {}, uint32_t(KAVRO_BROKER_TYPE_KAVRO), &made);
    REQUIRED(kavro_broker_set_broker_address, Optional{2}, h, t, t);
    REQUIRED(kavro_broker_set_broker_variant, {}, h, 0u);
    REQUIRED(kavro_broker_set_client_info, {}, h, t, t, t);
    REQUIRED(kavro_broker_set_locale, {}, h, t);
    REQUIRED(kavro_broker_set_timezone, {}, h, t);
    REQUIRED(kavro_broker_set_hello_client_variables, Optional{1}, h, &variables);
    REQUIRED(kavro_broker_set_connect_to_desktop_timeout, {}, h, uint16_t(1));
    REQUIRED(kavro_broker_fail_if_unverified, {}, h, true);
    REQUIRED(kavro_broker_set_client_certificate, {}, h, (const uint8_t *)t, size_t(4), sign,
             (void *)text);
    REQUIRED(kavro_broker_clear_session, {}, h);
    REQUIRED(kavro_broker_enable_oauth, {}, h, true);
    REQUIRED(kavro_broker_send_oauth_code, {}, h, t);
    REQUIRED(kavro_broker_get_auth_method, {}, h, &number);
    REQUIRED(kavro_broker_send_password, {}, h, t, t, t);
    REQUIRED(kavro_broker_send_auth_dialog, Optional{2}, h, t, (const kavro_broker_name_value *)0,
             0u);
    REQUIRED(kavro_broker_send_accept_disclaimer, {}, h, uint8_t(1));
    REQUIRED(kavro_broker_send_new_password, {}, h, t, t, t, t, t);
    REQUIRED(kavro_broker_send_securid_auth, {}, h, t, t);
    REQUIRED(kavro_broker_send_securid_token, {}, h, t);
    REQUIRED(kavro_broker_send_securid_pinchange, {}, h, t, t, t);
    REQUIRED(kavro_broker_send_securid_wait, {}, h);
    REQUIRED(kavro_broker_request_desktop_list, {}, h, &list_out);
    REQUIRED(kavro_broker_connect_to_desktop, Optional{2}, h, t, &variables, &info_out);
    REQUIRED(kavro_broker_perform_desktop_operation, {}, h, t, 2u);
    REQUIRED(kavro_broker_send_certificate_confirmation, {}, h, 1u, (const void *)t,
             (const void *)t);
    EXPECT_TRUE(handle.client->calls.empty()) << "a refused call asked the broker for something";

    REQUIRED(kavro_broker_get_broker_error_message, Optional{1}, h, text, &length);
    REQUIRED(kavro_broker_get_broker_info, (Optional{1, 3, 5}), h, text, &length, text, &length,
             text, &length);
    REQUIRED(kavro_broker_get_resolved_broker_address, Optional{1}, h, text, &length);
    REQUIRED(kavro_broker_get_num_hello_broker_variables, {}, h, &number);
    REQUIRED(kavro_broker_get_hello_broker_variable, (Optional{2, 4}), h, 0u, text, &length, text,
             &length);
    REQUIRED(kavro_broker_get_num_auth_domains, {}, h, &number);
    REQUIRED(kavro_broker_get_auth_domain, Optional{2}, h, 0u, text, &length);
    REQUIRED(kavro_broker_get_num_auth_to_client_variables, {}, h, &number);
    REQUIRED(kavro_broker_get_auth_to_client_variable, (Optional{2, 4}), h, 0u, text, &length, text,
             &length);
    REQUIRED(kavro_broker_get_auth_dialog_prompt_text, Optional{1}, h, text, &length);
    REQUIRED(kavro_broker_get_auth_dialog_error_text, Optional{1}, h, text, &length);
    REQUIRED(kavro_broker_get_disclaimer_text, Optional{1}, h, text, &length);
    REQUIRED(kavro_broker_get_auth_dialog_get_num_fields, {}, h, &number);
    REQUIRED(kavro_broker_get_auth_dialog_field, (Optional{3, 5, 7, 11}), h, 0u, &number, text,
             &length, text, &length, text, &length, &flag, &flag, &number);
    REQUIRED(kavro_broker_get_auth_dialog_get_num_buttons, {}, h, &number);
    REQUIRED(kavro_broker_get_auth_dialog_button, (Optional{2, 4}), h, 0u, text, &length, text,
             &length, &flag);
    REQUIRED(kavro_broker_get_num_certificates, {}, h, &number);
    REQUIRED(kavro_broker_get_broker_certificate, {}, none, 0u, &flag, &length);
    REQUIRED(kavro_broker_get_certificate_error, {}, h, 0u, &number);

    REQUIRED(kavro_broker_get_num_desktops, {}, &list, &number);
    REQUIRED(kavro_broker_get_desktop_name, Optional{2}, &list, 0u, text, &length);
    REQUIRED(kavro_broker_get_desktop_id, Optional{2}, &list, 0u, text, &length);
    REQUIRED(kavro_broker_get_desktop_type, Optional{2}, &list, 0u, text, &length);
    REQUIRED(kavro_broker_get_desktop_state, Optional{2}, &list, 0u, text, &length);
    REQUIRED(kavro_broker_get_desktop_health, Optional{2}, &list, 0u, text, &length);
    REQUIRED(kavro_broker_get_desktop_operation_allowed, {}, &list, 0u, 2u, &flag);
    REQUIRED(kavro_broker_get_desktop_connection_property, Optional{2}, &info, 0u, text, &length);
    REQUIRED(kavro_broker_get_num_desktop_connection_agent_variables, {}, &info, &number);
    REQUIRED(kavro_broker_get_desktop_connection_agent_variable, (Optional{2, 4}), &info, 0u, text,
             &length, text, &length);
    REQUIRED(kavro_broker_get_num_desktop_connection_alternate_targets, {}, &info, &number);
    REQUIRED(kavro_broker_get_desktop_connection_alternate_target, (Optional{2, 4, 6, 8}), &info,
             0u, text, &length, text, &length, text, &length, text, &length);
    REQUIRED(kavro_broker_escape_text, Optional{1}, t, text, &length);
    REQUIRED(kavro_broker_create_variable_list, {}, 1u, &variables_out);
    REQUIRED(kavro_broker_set_variable, {}, &variables, 0u, t, t);
    REQUIRED(kavro_broker_get_variable, (Optional{2, 4}), &variables, 0u, text, &length, text,
             &length);
    REQUIRED(kavro_broker_create_type_finder, {}, &finder_out);
    REQUIRED(kavro_broker_find_type, Optional{2}, &finder, t, t, &number);
    REQUIRED(kavro_broker_find_type_extended, (Optional{2, 4, 6}), &finder, t, t, &number, text,
             sizeof text, text, sizeof text);
    REQUIRED(kavro_broker_get_type, {}, &finder, &number);
}

TEST_F(Arguments, NullIsIgnoredWhereNothingComesBack) {
    kavro_broker_free(nullptr);
    kavro_broker_cancel(nullptr);
    kavro_broker_enable_ipv6(nullptr, true);
    kavro_broker_set_cache_file_location(nullptr);
    kavro_broker_set_session_log_id_function(nullptr);
    kavro_broker_free_desktop_list(nullptr);
    kavro_broker_free_desktop_connection_info(nullptr);
    kavro_broker_free_variable_list(nullptr);
    kavro_broker_free_type_finder(nullptr);
    kavro_broker_cancel_find_type(nullptr);
}

TEST_F(Arguments, ValuesOutOfRange) {
    kavro_broker_variable_list none = nullptr;
    const kavro_broker_name_value half_given = {"pin", nullptr};
    const std::pair<const char *, kavro_broker_result> results[] = {
        {"disclaimer 2", kavro_broker_send_accept_disclaimer(h, 2)},
        {"dialog without fields", kavro_broker_send_auth_dialog(h, "ok", nullptr, 1)},
        {"dialog field without value", kavro_broker_send_auth_dialog(h, "ok", &half_given, 1)},
        {"passwords differ", kavro_broker_send_new_password(h, "u", "d", "o", "n", "N")},
        {"confirmation 2", kavro_broker_send_certificate_confirmation(h, 2, text, text)},
        {"certificate of no length",
         kavro_broker_set_client_certificate(h, (const uint8_t *)text, 0, sign, text)},
        {"domain", kavro_broker_get_auth_domain(h, 1, text, &length)},
        {"hello variable",
         kavro_broker_get_hello_broker_variable(h, 1, text, &length, text, &length)},
        {"last index", kavro_broker_get_auth_domain(h, UINT32_MAX, text, &length)},
        {"certificate", kavro_broker_get_broker_certificate(h, 0, &flag, &length)},
        {"verdict", kavro_broker_get_certificate_error(h, 0, &number)},
        {"desktop", kavro_broker_get_desktop_name(&list, 1, text, &length)},
        {"operation 5", kavro_broker_get_desktop_operation_allowed(&list, 0, 5, &flag)},
        {"property 10", kavro_broker_get_desktop_connection_property(&info, 10, text, &length)},
        {"property 2^32-1",
         kavro_broker_get_desktop_connection_property(&info, UINT32_MAX, text, &length)},
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

/// Needed size, exact, one short and zero, with a guard byte behind the buffer.
TEST_F(Arguments, TextsAreCopiedByOneRule) {
    const std::string expected = "Desktop";
    struct Row {
        std::size_t given;
        kavro_broker_result result;
    };
    const Row rows[] = {{8, KAVRO_BROKER_OK},
                        {64, KAVRO_BROKER_OK},
                        {7, KAVRO_BROKER_ERR_BUFFER_TOO_SMALL},
                        {0, KAVRO_BROKER_ERR_BUFFER_TOO_SMALL}};
    EXPECT_EQ(kavro_broker_get_desktop_name(&list, 0, nullptr, &length), KAVRO_BROKER_OK);
    EXPECT_EQ(length, expected.size() + 1);
    for (const auto &[given, result] : rows) {
        std::array<char, 65> buffer;
        buffer.fill('#');
        length = given;
        EXPECT_EQ(kavro_broker_get_desktop_name(&list, 0, buffer.data(), &length), result) << given;
        EXPECT_EQ(length, expected.size() + 1);
        const std::size_t written = result == KAVRO_BROKER_OK ? expected.size() + 1 : 0;
        EXPECT_EQ(std::string(buffer.data(), written), std::string(expected.c_str(), written));
        EXPECT_EQ(std::count(buffer.begin(), buffer.end(), '#'), 65 - long(written));
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

TEST_F(Arguments, ConnectionProperties) {
    auto &connection = info.connection;
    connection.target_address = "10.0.0.9";
    connection.connect_tag = "tag";
    connection.use_broker_address = true;
    length = 0;
    text[1] = '#';
    EXPECT_EQ(kavro_broker_get_desktop_connection_property(&info, 6, text, &length),
              KAVRO_BROKER_OK);
    EXPECT_EQ(length, 1u);
    EXPECT_EQ(text[0], 1);
    EXPECT_EQ(text[1], '#');
    EXPECT_EQ(kavro_broker_get_desktop_connection_property(&info, 6, nullptr, &length),
              KAVRO_BROKER_OK);
    for (uint32_t property : {7u, 8u, 9u})
        EXPECT_EQ(kavro_broker_get_desktop_connection_property(&info, property, nullptr, &length),
                  KAVRO_BROKER_ERR_NOT_AVAILABLE);
    connection.has_gateway_ticket = true;
    connection.gateway_ticket_expiry_time = "later";
    length = sizeof text;
    EXPECT_EQ(kavro_broker_get_desktop_connection_property(&info, 9, text, &length),
              KAVRO_BROKER_OK);
    EXPECT_STREQ(text, "later");
}

TEST_F(Arguments, AlternateTargets) {
    EXPECT_EQ(kavro_broker_get_num_desktop_connection_alternate_targets(&info, &number),
              KAVRO_BROKER_OK);
    EXPECT_EQ(number, 1u);
    std::array<std::array<char, 16>, 4> texts{};
    std::array<size_t, 4> lengths;
    lengths.fill(texts[0].size());
    EXPECT_EQ(kavro_broker_get_desktop_connection_alternate_target(
                  &info, 0, texts[0].data(), &lengths[0], texts[1].data(), &lengths[1],
                  texts[2].data(), &lengths[2], texts[3].data(), &lengths[3]),
              KAVRO_BROKER_OK);
    const char *expected[] = {"10.0.0.8", "other", "sni", "4173"};
    for (std::size_t i = 0; i < texts.size(); ++i)
        EXPECT_STREQ(texts[i].data(), expected[i]);
}

TEST_F(Arguments, EscapedTexts) {
    const std::pair<const char *, std::string_view> rows[] = {
        {"", ""},
        {"Größe 1;", "Größe 1;"},
        {"<&>'\"", "&lt;&amp;&gt;&apos;&quot;"},
        {"&lt;]]>", "&amp;lt;]]&gt;"},
    };
    for (const auto &[plain, escaped] : rows) {
        length = sizeof text;
        EXPECT_EQ(kavro_broker_escape_text(plain, text, &length), KAVRO_BROKER_OK);
        EXPECT_EQ(text, escaped);
        EXPECT_EQ(length, escaped.size() + 1);
    }
}

TEST_F(Arguments, VariableLists) {
    kavro_broker_variable_list made = nullptr;
    ASSERT_EQ(kavro_broker_create_variable_list(2, &made), KAVRO_BROKER_OK);
    EXPECT_EQ(kavro_broker_set_variable(made, 1, "name", "first"), KAVRO_BROKER_OK);
    EXPECT_EQ(kavro_broker_set_variable(made, 1, "name", "second"), KAVRO_BROKER_OK);
    char value[16];
    size_t value_length = sizeof value;
    EXPECT_EQ(kavro_broker_get_variable(made, 1, text, &length, value, &value_length),
              KAVRO_BROKER_OK);
    EXPECT_STREQ(text, "name");
    EXPECT_STREQ(value, "second");

    EXPECT_EQ(kavro_broker_set_hello_client_variables(h, made), KAVRO_BROKER_OK);
    kavro_broker_free_variable_list(made);
    EXPECT_EQ(handle.handle->hello_client_variables.at(1).second, "second");
    EXPECT_EQ(kavro_broker_set_hello_client_variables(h, nullptr), KAVRO_BROKER_OK);
    EXPECT_TRUE(handle.handle->hello_client_variables.empty());
}

TEST(CreateDeathTest, WithoutALogFunction) {
    // A log function is never taken back: only a process of its own has none for sure.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    kavro_broker_handle handle = reinterpret_cast<kavro_broker_handle>(1);
    EXPECT_EXIT(
        {
            const bool right = kavro_broker_create(KAVRO_BROKER_TYPE_KAVRO, &handle) ==
                                   KAVRO_BROKER_ERR_NO_LOG_FUNCTION &&
                               handle == nullptr;
            _exit(right ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(DestroyDeathTest, ClientsOfAKindThatNobodyCanDestroy) {
    const std::pair<const char *, uint32_t> rows[] = {
        {"no kind", 0},
        {"a kind that no client has", KAVRO_BROKER_TYPE_AWS},
        {"View, but there is no plug-in", KAVRO_BROKER_TYPE_VIEW},
    };
    for (const auto &[what, kind] : rows) {
        SCOPED_TRACE(what);
        FakeClient client;
        client.kind = kind;
        expect_abort([&client] { cBROKER_FACTORY::destroy(&client); }, "",
                     "cBROKER_FACTORY::destroy");
    }
}

TEST(Create, KindsOfBroker) {
    CapturedLog log;
    kavro_broker_handle handle = nullptr;
    for (uint32_t unknown : {uint32_t(KAVRO_BROKER_TYPE_VIEW), uint32_t(KAVRO_BROKER_TYPE_AWS), 0u})
        EXPECT_EQ(kavro_broker_create(unknown, &handle), KAVRO_BROKER_ERR_CREATE_FAILED);
    EXPECT_EQ(handle, nullptr);
    ASSERT_EQ(kavro_broker_create(KAVRO_BROKER_TYPE_KAVRO, &handle), KAVRO_BROKER_OK);
    const auto found = std::ranges::find(log.lines(), 0, &LogLine::severity);
    ASSERT_NE(found, log.lines().end());
    const LogLine banner = *found;
    EXPECT_TRUE(banner.text.starts_with("Moravelt Module Name = ")) << banner.text;
    EXPECT_TRUE(banner.text.ends_with("KAVRO_BROKER_API Version = 9")) << banner.text;
    kavro_broker_free(handle);
}

} // namespace
} // namespace kavro
