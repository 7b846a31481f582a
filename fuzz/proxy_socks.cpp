#include "proxy_answers.h"

// The same for a SOCKS proxy, which is asked for two addresses.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    fuzz::compare_pieces(fuzz::as_text(data, size), [] {
        return kavro::socks_dialogue(
            fuzz::proxy("socks5://proxy.test:1080"), {"broker.test", "443"},
            {boost::asio::ip::make_address("::1"), boost::asio::ip::make_address("127.0.0.1")});
    });
    return 0;
}
