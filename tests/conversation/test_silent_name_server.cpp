#include "conversation/short_deadlines.h"
#include "conversation/silent_name_server.h"

#include <iostream>
#include <unistd.h>

using namespace conversation;

namespace {

/// Runs in a child process, because the world that it enters has no way back. The exit status says
/// what went wrong.
int ask_a_silent_name_server() {
    constexpr auto deadline = 500ms;
    kavro_broker_handle handle = handle_with_deadline(deadline);
    kavro_broker_set_client_info(handle, "test", "1", "Linux");
    kavro_broker_set_broker_address(handle, "broker.test", "443");
    uint32_t method = 0;
    auto start = Clock::now();
    if (kavro_broker_get_auth_method(handle, &method) != KAVRO_BROKER_ERR_TIMEOUT)
        return 1;
    if (since(start) < deadline || since(start) > deadline + margin)
        return 2;

    kavro_broker_result cancelled = 0;
    std::thread request([&] { cancelled = kavro_broker_get_auth_method(handle, &method); });
    while (Log::text().find("Deadline Timer timeout set", Log::text().find("expired")) ==
           std::string::npos)
        std::this_thread::yield(); // until the second look-up is under way
    start = Clock::now();
    kavro_broker_cancel(handle);
    request.join();
    if (cancelled != KAVRO_BROKER_ERR_CANCELLED || since(start) > margin)
        return 3;

    start = Clock::now();
    kavro_broker_free(handle);
    return since(start) < 200ms ? 0 : 4;
}

constexpr int no_such_world = 99;

/// In a chroot, or in a container without the right to it, nobody enters namespaces.
bool well_or_left_out(int status) {
    const bool left_out = testing::ExitedWithCode(no_such_world)(status);
    if (left_out)
        std::cout << "left out: this system does not allow namespaces\n";
    return left_out || testing::ExitedWithCode(0)(status);
}

TEST(DeadlinesDeathTest, HoldWhenTheNameServerNeverAnswers) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        _exit(enter_world_with_silent_name_server() ? ask_a_silent_name_server() : no_such_world),
        well_or_left_out, "");
}

} // namespace
