#include "fuzzing.h"
#include "transport/xml_document.h"
#include "utils/src/broker_utils.h"

#include <algorithm>
#include <string>

// Addresses: what comes out stands in the address, and in one that parses a port is digits. Text:
// escaped for XML it holds none of the five special characters and reads back as it was.

namespace {

using namespace kavro;

void check_address(std::string_view address) {
    std::string host, port, protocol;
    if (!parse_uri(address, host, port, protocol))
        return;
    for (const auto &part : {host, port, protocol})
        fuzz::promise(address.find(part) != address.npos, "nothing is made up");
    fuzz::promise(address.size() <= max_address_length, "an endless address does not parse");
    fuzz::promise(std::ranges::all_of(port, [](char c) { return c >= '0' && c <= '9'; }), "digits");
    fuzz::promise(!is_ipv6_address(host) || port.empty() || is_valid_port(port) ||
                      address.find('[') == address.npos,
                  "an IPv6 address with a port that is none does not parse");
}

void check_escaping(std::string_view text) {
    const std::string escaped = escape_xml(text);
    fuzz::promise(escaped.find_first_of("<>\"'") == escaped.npos, "no special character is left");
    std::string error;
    const auto document = XmlDocument::parse(SecureText("<x>" + escaped + "</x>"), error);
    if (text.find('\0') == text.npos)
        fuzz::promise(document != nullptr && document->root().text() == text, "reads back");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    check_address(fuzz::as_text(data, size));
    check_escaping(fuzz::as_text(data, size));
    return 0;
}
