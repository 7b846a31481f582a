#include "full_backlog.h"

#include <chrono>

namespace test_support {

namespace asio = boost::asio;
using asio::ip::tcp;

namespace {

/// Long for a loopback connection that will be taken, short for a test.
constexpr std::chrono::milliseconds patience{50};

} // namespace

FullBacklog::FullBacklog() : acceptor_(context_) {
    acceptor_.open(tcp::v4());
    acceptor_.bind({asio::ip::make_address("127.0.0.1"), 0});
    acceptor_.listen(0);
    // How many connections the system queues beyond the stated none is its own affair: fill up
    // until one is left waiting.
    for (bool taken = true; taken;) {
        taken = false;
        waiting_.emplace_back(context_).async_connect(
            endpoint(), [&taken](const boost::system::error_code &error) { taken = !error; });
        context_.restart();
        context_.run_for(patience);
    }
}

} // namespace test_support
