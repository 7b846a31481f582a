#pragma once

#include "fuzzing.h"
#include "transport/http_framing.h"

#include <algorithm>
#include <cstring>
#include <functional>

namespace fuzz {

using State = kavro::HttpResponseParser::State;

/// What came out of one response.
struct Reading {
    State state = State::need_more;
    kavro::SecureText body;
    kavro::CookieTable cookies;

    bool operator==(const Reading &) const = default;
};

inline void check_cookies(const kavro::CookieTable &cookies) {
    const auto is_control = [](unsigned char c) { return c < 0x20 || c == 0x7F; };
    promise(cookies.size() <= kavro::HttpLimits::cookies, "no more cookies than the limit");
    for (const auto &[name, value] : cookies) {
        promise(name.size() + value.size() <= kavro::HttpLimits::cookie_bytes,
                "no cookie is longer than the limit");
        promise(std::ranges::none_of(name + value, is_control), "no cookie holds a control byte");
    }
}

/// Reads a response that comes in in pieces of these lengths.
inline Reading read_response(std::string_view bytes, const kavro::HttpRules &rules,
                             const std::function<std::size_t()> &next_length) {
    Reading reading;
    kavro::HttpResponseParser parser(reading.cookies, rules);
    for (std::size_t read = 0; reading.state == State::need_more && read < bytes.size();) {
        const auto space = parser.space();
        promise(space.size != 0, "there is room for more");
        promise(space.size <= 64 * 1024 + 2 * read, "memory grows with what came, not with claims");
        const auto length = std::min({next_length(), space.size, bytes.size() - read});
        std::memcpy(space.data, bytes.data() + read, length);
        read += length;
        reading.state = parser.received(length);
    }
    if (reading.state == State::need_more)
        reading.state = parser.end_of_stream();
    if (reading.state == State::complete)
        reading.body = parser.take_body();
    check_cookies(reading.cookies);
    return reading;
}

inline Reading read_at_once(std::string_view bytes, const kavro::HttpRules &rules = {}) {
    return read_response(bytes, rules, [&bytes] { return bytes.size(); });
}

} // namespace fuzz
