#include "http_reading.h"

#include <charconv>
#include <optional>

// A chunked body is its chunks one behind the other. A decoder that knows nothing of pieces and
// limits says what that is.

namespace {

std::optional<std::string> decoded(std::string_view rest) {
    for (std::string body;;) {
        const auto line_end = rest.find("\r\n");
        auto digits = rest.substr(0, std::min(rest.find(';'), line_end));
        digits = digits.substr(0, digits.find_last_not_of(" \t") + 1);
        std::size_t size = 0;
        const auto number = std::from_chars(digits.begin(), digits.end(), size, 16);
        if (line_end == rest.npos || number.ec != std::errc() || number.ptr != digits.end())
            return std::nullopt;
        rest.remove_prefix(line_end + 2);
        if (size == 0)
            return body;
        if (size > rest.size() || !rest.substr(size).starts_with("\r\n"))
            return std::nullopt;
        body += rest.substr(0, size);
        rest.remove_prefix(size + 2);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string chunks(fuzz::as_text(data, size));
    const auto reading =
        fuzz::read_at_once("HTTP/1.1 200\r\nTransfer-Encoding: chunked\r\n\r\n" + chunks);
    const auto body = decoded(chunks);
    fuzz::promise(body.has_value() == (reading.state == fuzz::State::complete), "whole or not");
    fuzz::promise(std::string_view(body.value_or("")) == reading.body, "the sum of its chunks");
    return 0;
}
