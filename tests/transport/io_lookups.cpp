#include "io_client.h"
#include "io_names.h"

#include <thread>

namespace kavro {

namespace {

class LookupTest : public TransportTest {
protected:
    SilentNames silent_{{{boost::asio::ip::make_address("192.0.2.1"), 0}}};
};

/// A connection is cancelled in the look-up, and does not wait for it.
void abandon_a_lookup(const SilentNames &names, int number) {
    HttpsXmlClient client(names.lookup());
    std::thread canceller([&] {
        names.wait_for_lookups(number);
        client.cancel();
    });
    EXPECT_EQ(connect(client, "broker.test:443").result.result, ConnectCode::cancelled);
    canceller.join();
}

} // namespace

TEST_F(LookupTest, DeadlineHoldsForANameServerThatIsSilent) {
    Client client(silent_.lookup());
    const auto connected = connect(client, "broker.test:443", true, short_timeout);
    EXPECT_EQ(connected.result.result, ConnectCode::timeout);
    EXPECT_LT(connected.took, short_timeout + margin);

    EXPECT_LT(resolve(client, "desktop.test", short_timeout).took, short_timeout + margin);
}

TEST_F(LookupTest, AnswerThatComesTooLateIsNotHeard) {
    const ScriptedPeer peer({good_script()});
    SilentNames late({peer.endpoint()});
    Client client(late.lookup());
    EXPECT_EQ(connect(client, "broker.test:443", false, short_timeout).result.result,
              ConnectCode::timeout);
    late.release();
    client.run_io(false);
    EXPECT_EQ(peer.connection_count(), 0u);
    EXPECT_EQ(connect(client, "broker.test:443").result.result, ConnectCode::connected);
}

TEST_F(LookupTest, AbandonedOnesAreBounded) {
    for (int i = 1; i <= NameResolver::max_abandoned; ++i)
        abandon_a_lookup(silent_, i);
    Client client(silent_.lookup());
    const auto outcome = connect(client, "broker.test:443", true);
    EXPECT_EQ(outcome.result.result, ConnectCode::resolve_failed);
    EXPECT_LT(outcome.took, margin);
    EXPECT_EQ(resolve(client, "desktop.test").result, "");
    silent_.wait_for_lookups(NameResolver::max_abandoned);

    silent_.release();
    EXPECT_EQ(resolve(client, "desktop.test").result, "192.0.2.1");
}

TEST_F(LookupTest, ExceptionOnTheThreadIsAFailedLookUp) {
    const NameResolver::BlockingLookup failing =
        [](const std::string &, const std::string &,
           boost::system::error_code &) -> NameResolver::Endpoints { throw std::bad_alloc(); };
    Client client(failing);
    EXPECT_EQ(connect(client, "broker.test:443").result.result, ConnectCode::resolve_failed);
}

} // namespace kavro
