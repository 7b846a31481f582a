#include "captured_log.h"
#include "kavro_broker.h"
#include "plugin/view_plugin.h"
#include "plugin_loader.h"

#include <gtest/gtest.h>

// Handles of View brokers, with the plug-in that lies beside this program.

namespace kavro {
namespace {

TEST(ViewClients, AreTakenFromThePluginAndGivenBack) {
    using Next = ViewPluginState::Next;
    const struct {
        const char *what;
        Next next;
        uint32_t kind;
        int made;
        kavro_broker_result result = KAVRO_BROKER_ERR_CREATE_FAILED;
    } rows[] = {
        {"a View client", Next::good, KAVRO_BROKER_TYPE_VIEW, 1, KAVRO_BROKER_OK},
        {"null", Next::null, KAVRO_BROKER_TYPE_VIEW, 0},
        {"an exception", Next::throwing, KAVRO_BROKER_TYPE_VIEW, 0},
        {"the library's own kind", Next::good, KAVRO_BROKER_TYPE_KAVRO, 1},
        {"a direct host", Next::good, KAVRO_BROKER_TYPE_DIRECT_HOST, 1},
        {"no kind", Next::good, 0, 1},
    };
    const CapturedLog log;
    PluginLibrary plugin{plugin_path(executable_path(), plugin_naming)};
    ViewPluginState &state = *plugin.find<GetViewPluginState>("view_plugin_state")();
    for (const auto &[what, next, kind, made, result] : rows) {
        state = ViewPluginState{.next = next, .kind = kind};
        kavro_broker_handle handle = nullptr;
        EXPECT_EQ(kavro_broker_create(KAVRO_BROKER_TYPE_VIEW, &handle), result) << what;
        EXPECT_EQ(handle != nullptr, result == KAVRO_BROKER_OK) << what;
        EXPECT_EQ(state.made, made) << what;
        EXPECT_EQ(state.destroyed, handle == nullptr ? made : 0) << what;
        kavro_broker_free(handle);
        EXPECT_EQ(state.destroyed, made) << what;

        ASSERT_EQ(kavro_broker_create(KAVRO_BROKER_TYPE_KAVRO, &handle), KAVRO_BROKER_OK) << what;
        kavro_broker_free(handle);
    }
}

} // namespace
} // namespace kavro
