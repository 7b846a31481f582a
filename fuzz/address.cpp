#include "fuzzing.h"
#include "utils/src/broker_utils.h"

#include <algorithm>
#include <string>

// A broker address: what comes out stands in it, the port is digits, and an IPv6 address with a
// port that is none does not parse.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace kavro;
    const auto address = fuzz::as_text(data, size);
    std::string host, port, protocol;
    if (!parse_uri(address, host, port, protocol))
        return 0;
    fuzz::promise(size <= max_address_length, "an endless address does not parse");
    for (const auto &part : {host, port, protocol})
        fuzz::promise(address.find(part) != address.npos, "nothing is made up");
    const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
    fuzz::promise(std::ranges::all_of(port, is_digit), "a port is digits");
    fuzz::promise(port.empty() || !is_ipv6_address(host) || is_valid_port(port), "a port is one");
    return 0;
}
