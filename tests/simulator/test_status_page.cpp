// The status page as a browser draws it.
#include "status_server.h"
#include "system.h"
#include "wire_client.h"

#include <gtest/gtest.h>

#include <atomic>

using namespace broker_sim;

namespace {

/// The document of this page after a few of its seconds, which the browser does not wait for.
std::string page_in_browser(std::uint16_t port) {
    const auto profile = test_support::fresh_folder();
    const std::string document = test_support::output_of(
        CHROMIUM " --headless --no-sandbox --disable-gpu --disable-dev-shm-usage"
                 " --disable-background-networking --host-resolver-rules='MAP * ~NOTFOUND, EXCLUDE "
                 "127.0.0.1'"
                 " --virtual-time-budget=5000 --dump-dom --user-data-dir=" +
        profile.string() + " http://127.0.0.1:" + std::to_string(port) + "/ 2>/dev/null");
    std::filesystem::remove_all(profile);
    return document;
}

TEST(StatusPage, DrawsWhatHappensWhileItIsOpenAsText) {
    static constexpr const char *attack = "<img src=x onerror=\"document.title='taken'\">";
    Simulator simulator({.desktops = {{.name = attack, .id = "office", .state = attack}},
                         .overrides = {{.match = {.request = "bye"}, .body = "<result-id>OFF"}},
                         .faults = {{.match = {.request = "bye"}, .record_size = 16}}});
    simulator.watch(attack);
    std::atomic<int> polls = 0;
    const StatusServer server(0, [&] {
        if (++polls == 2)
            for (const char *const message : {"<<b>&lt;i></<b>", "<bye/>"})
                converse(simulator, http_request(message));
        return simulator.status();
    });
    const std::string document = page_in_browser(server.port());
    EXPECT_GE(polls, 2) << document;
    for (const char *const drawn :
         {"<title>Broker Simulator 1.0.0: status</title>", ">live</p>",
          "&lt;img src=x onerror=\"document.title='taken'\"&gt;</span>", ">&lt;b</button></td>",
          ">&lt;kavro-client version=\"2.1\"&gt;\n  &lt;bye&gt;", ">bye</button></td>",
          ">bye</span></li>", ">OFF<span class=\"fault\">fault: record_size 16</span></td>"})
        EXPECT_NE(document.find(drawn), document.npos) << drawn << '\n' << document;
    for (const char *const taken : {"<img", "<b>"})
        EXPECT_EQ(document.find(taken), document.npos) << document;
}

} // namespace
