#include "captured_log.h"
#include "kavro_broker.h"
#include "plugin/view_plugin.h"
#include "plugin_loader.h"

#include <gtest/gtest.h>

// Handles of View brokers, with the plug-in that lies beside this program.

namespace kavro {
namespace {

struct ViewClients : testing::Test {
    ViewClients() { state = ViewPluginState{.kind = KAVRO_BROKER_TYPE_VIEW}; }

    kavro_broker_result create() { return kavro_broker_create(KAVRO_BROKER_TYPE_VIEW, &handle); }

    CapturedLog log;
    PluginLibrary plugin{plugin_path(executable_path(), plugin_naming)};
    ViewPluginState &state = *plugin.find<GetViewPluginState>("view_plugin_state")();
    kavro_broker_handle handle = nullptr;
};

TEST_F(ViewClients, SecurIdReachesThePlugin) {
    ASSERT_EQ(create(), KAVRO_BROKER_OK);
    kavro_broker_set_broker_address(handle, "view.test", nullptr);
    struct Row {
        kavro_broker_result (*send)(kavro_broker_handle);
        const char *request;
        uint32_t next_method;
    };
    const Row rows[] = {
        {[](auto h) { return kavro_broker_send_securid_auth(h, "alice", "1234"); },
         "credentials alice 1234", KAVRO_BROKER_AUTH_METHOD_SECURID_NEXT_TOKEN},
        {[](auto h) { return kavro_broker_send_securid_token(h, "5678"); }, "token 5678",
         KAVRO_BROKER_AUTH_METHOD_SECURID_NEW_PIN},
        {[](auto h) { return kavro_broker_send_securid_pinchange(h, "5678", "42", "43"); },
         "pin 5678 42 43", KAVRO_BROKER_AUTH_METHOD_SECURID_WAIT},
        {kavro_broker_send_securid_wait, "wait", KAVRO_BROKER_AUTH_METHOD_SECURID},
    };
    for (const auto &[send, request, next_method] : rows) {
        EXPECT_EQ(send(handle), KAVRO_BROKER_OK) << request;
        EXPECT_EQ(state.request, request);
        uint32_t method = 0;
        EXPECT_EQ(kavro_broker_get_auth_method(handle, &method), KAVRO_BROKER_OK) << request;
        EXPECT_EQ(method, next_method) << request;
    }
    EXPECT_EQ(state.destroyed, 0);
    kavro_broker_free(handle);
    EXPECT_EQ(state.destroyed, state.made);
}

TEST_F(ViewClients, WhatIsNoViewClientIsNotTaken) {
    using Next = ViewPluginState::Next;
    struct Row {
        const char *what;
        Next next;
        uint32_t kind;
        int made;
    };
    const Row rows[] = {
        {"null", Next::null, KAVRO_BROKER_TYPE_VIEW, 0},
        {"an exception", Next::throwing, KAVRO_BROKER_TYPE_VIEW, 0},
        {"the library's own kind", Next::good, KAVRO_BROKER_TYPE_KAVRO, 1},
        {"a direct host", Next::good, KAVRO_BROKER_TYPE_DIRECT_HOST, 1},
        {"no kind", Next::good, 0, 1},
    };
    for (const auto &[what, next, kind, made] : rows) {
        state = ViewPluginState{.next = next, .kind = kind};
        EXPECT_EQ(create(), KAVRO_BROKER_ERR_CREATE_FAILED) << what;
        EXPECT_EQ(handle, nullptr) << what;
        EXPECT_EQ(state.made, made) << what;
        EXPECT_EQ(state.destroyed, made) << what << ": given back";

        ASSERT_EQ(kavro_broker_create(KAVRO_BROKER_TYPE_KAVRO, &handle), KAVRO_BROKER_OK) << what;
        kavro_broker_free(std::exchange(handle, nullptr));
    }
}

} // namespace
} // namespace kavro
