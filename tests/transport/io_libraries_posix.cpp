#include "io_names.h"

#include <unistd.h>

// What libraries that not every machine has are asked for; others play them here.

namespace kavro {

using ProxyLibraries = TransportTest;

TEST_F(ProxyLibraries, AreWaitedForNoLongerThanTheLimitAllows) {
    const Script asks = {expect_request(), send("HTTP/1.1 407 No\r\nContent-Length: 0\r\n"
                                                "Proxy-Authenticate: NTLM\r\n\r\n")};
    const ScriptedPeer asking({asks, asks});
    const struct {
        std::string proxy, known_to_libproxy;
        ConnectCode code;
    } rows[] = {
        {"http://" + asking.address(), "", ConnectCode::timeout},
        {"system", "silent", ConnectCode::timeout},
        {"system", "wpad://", ConnectCode::proxy_failed},
        {"system", "http://" + asking.address(), ConnectCode::timeout},
        {"system", "direct://", ConnectCode::resolve_failed},
    };
    int silence[2];
    ASSERT_EQ(::pipe(silence), 0);
    ::setenv("SILENT_PIPE", std::to_string(silence[0]).c_str(), 1);
    ::unsetenv("https_proxy");
    for (const auto &[proxy, known, code] : rows) {
        ::setenv("KNOWN_TO_LIBPROXY", known.c_str(), 1);
        HttpsXmlClient client(Names().lookup());
        client.set_proxy(*parse_proxy(proxy, "silent", "secret"));
        const auto outcome = connect(client, "broker.test:443", true, short_timeout);
        EXPECT_EQ(outcome.result.result, code) << known << ": " << outcome.result.error_text;
        EXPECT_LT(outcome.took, short_timeout + margin);
    }
    ::close(silence[1]);
}

} // namespace kavro
