#include "io_client.h"
#include "system.h"

namespace kavro {

namespace {

using test_support::open_descriptors;

class DescriptorTest : public TransportTest {
protected:
    static constexpr std::size_t rounds = 300;

    /// Repeats an attempt on one client, and compares before and after.
    void expect_none_left_open(
        const Script &script,
        const std::function<void(HttpsXmlClient &, const std::string &)> &attempt) {
        const ScriptedPeer peer({script});
        HttpsXmlClient client;
        const auto before = open_descriptors();
        for (std::size_t i = 0; i < rounds; ++i) {
            attempt(client, peer.address());
            ASSERT_TRUE(peer.wait_for(i, [](const PeerRecord &seen) { return seen.closed; }));
        }
        EXPECT_EQ(open_descriptors(), before);
        expect_usable(client);
    }
};

} // namespace

TEST_F(DescriptorTest, NoneIsLeftByFailedHandshakes) {
    expect_none_left_open(
        {expect_bytes(1), fin()}, [](HttpsXmlClient &client, const std::string &address) {
            EXPECT_EQ(connect(client, address).result.result, ConnectCode::socket_or_sys_failure);
        });
}

TEST_F(DescriptorTest, NoneIsLeftByCancelledConnects) {
    expect_none_left_open({}, [](HttpsXmlClient &client, const std::string &address) {
        const auto outcome = drive<ConnectResult>(client, [&](auto handler) {
            client.connect(address, false, handler, ample);
            client.cancel();
        });
        EXPECT_EQ(outcome.result.result, ConnectCode::cancelled);
    });
}

TEST_F(DescriptorTest, NoneIsLeftByAnswersThatAreRefused) {
    expect_none_left_open({handshake(), expect_request(), send("HTTP/1.1 500 Oh\r\n\r\n")},
                          [](HttpsXmlClient &client, const std::string &address) {
                              ASSERT_EQ(connect(client, address).result.result,
                                        ConnectCode::connected);
                              EXPECT_EQ(post(client).result.result, POST_RESULT_NOT_HTTP_OK);
                          });
}

} // namespace kavro
