#include "transport/http_framing.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace kavro {

namespace {

constexpr std::string_view crlf = "\r\n";
constexpr std::string_view blank_line = "\r\n\r\n";
/// A TLS record holds no more than this, so no single read brings more.
constexpr std::size_t read_bytes = 16 * 1024;

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equal_ignoring_case(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, {}, lower, lower);
}

bool starts_ignoring_case(std::string_view text, std::string_view start) {
    return equal_ignoring_case(text.substr(0, start.size()), start);
}

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

/// The whole text as a number; no sign, no blanks, no overflow.
std::optional<std::size_t> to_number(std::string_view text, int base) {
    std::size_t number = 0;
    const auto [rest, error] =
        std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (error != std::errc() || rest != text.data() + text.size())
        return std::nullopt;
    return number;
}

/// Takes the first line off a text; without a line end that is all of it.
std::string_view take_line(std::string_view &text) {
    const auto end = std::min(text.find(crlf), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + crlf.size(), text.size()));
    return line;
}

/// RFC 9112 section 4: the status code is three digits; the reason phrase may be missing.
std::optional<int> status_code(std::string_view status_line, bool http_1_0) {
    constexpr std::string_view version = "HTTP/1.1 ";
    constexpr std::size_t digits = 3;
    if (!starts_ignoring_case(status_line, version) &&
        !(http_1_0 && starts_ignoring_case(status_line, "HTTP/1.0 ")))
        return std::nullopt;
    status_line.remove_prefix(version.size());
    const auto code = to_number(status_line.substr(0, digits), 10);
    const bool ends =
        status_line.size() == digits || (status_line.size() > digits && status_line[digits] == ' ');
    if (!code || !ends)
        return std::nullopt;
    return static_cast<int>(*code);
}

bool has_control_characters(std::string_view text) {
    return std::ranges::any_of(text, [](unsigned char c) { return c < 0x20 || c == 0x7F; });
}

/// Finds the mark behind something that may be `limit` bytes long. Complete when it is there, else
/// whether it may still come; the same however the bytes came in.
HttpResponseParser::State find_end(std::string_view text, std::string_view mark, std::size_t limit,
                                   std::size_t &end) {
    using State = HttpResponseParser::State;
    const std::size_t most = limit + mark.size();
    end = text.substr(0, most).find(mark);
    if (end != std::string_view::npos)
        return State::complete;
    return text.size() < most ? State::need_more : State::mangled;
}

} // namespace

SecureText http_post_request(std::string_view path, std::string_view host,
                             std::string_view client_log_id, const CookieTable &cookies,
                             std::string_view xml) {
    SecureText request;
    request.reserve(xml.size() + 1024);
    const auto add = [&request](auto... pieces) { (request.append(pieces), ...); };

    add("POST ", path, " HTTP/1.1\r\n");
    add("Host: ", host, crlf);
    if (!client_log_id.empty())
        add("Client-Log-Id: ", client_log_id, crlf);
    add("Accept: text/*, application/octet-stream\r\n"
        "Content-Type: text/xml; charset=UTF-8\r\n");
    if (!cookies.empty()) {
        add("Cookie:");
        for (const char *separator = " "; const auto &[name, value] : cookies) {
            add(separator, std::string_view(name), "=", std::string_view(value));
            separator = "; ";
        }
        add(crlf);
    }
    add("User-Agent: Mozilla/4.0 (compatible; MSIE 6.0)\r\n"
        "Content-Length: ",
        std::string_view(std::to_string(xml.size())), crlf,
        "Connection: Keep-Alive\r\n"
        "Cache-Control: no-cache\r\n"
        "\r\n",
        xml);
    return request;
}

HttpResponseParser::Space HttpResponseParser::space() {
    if (consumed_ != 0) {
        input_.erase(0, consumed_);
        filled_ -= consumed_;
        consumed_ = 0;
    }
    input_.resize(filled_ + read_bytes);
    return {input_.data() + filled_, read_bytes};
}

HttpResponseParser::State HttpResponseParser::received(std::size_t bytes) {
    filled_ += bytes;
    return advance();
}

HttpResponseParser::State HttpResponseParser::end_of_stream() {
    return step_ == Step::open_body ? State::complete : State::mangled;
}

HttpResponseParser::State HttpResponseParser::advance() {
    for (;;) {
        const Step before = step_;
        const std::size_t consumed_before = consumed_;
        State state = State::need_more;
        switch (step_) {
        case Step::head:
            state = read_head();
            break;
        case Step::sized_body:
            take_body_bytes();
            return expected_ == 0 ? State::complete : State::need_more;
        case Step::open_body:
            take_body_bytes();
            return expected_ == 0 ? State::mangled : State::need_more;
        case Step::chunk_size:
            state = read_chunk_size();
            break;
        case Step::chunk_data:
            state = read_chunk_data();
            break;
        case Step::chunk_end:
            state = read_chunk_end();
            break;
        }
        const bool moved = step_ != before || consumed_ != consumed_before;
        if (state != State::need_more || !moved)
            return state;
    }
}

HttpResponseParser::State HttpResponseParser::read_head() {
    constexpr std::string_view protocol = "HTTP/";
    const std::string_view received(input_.data(), filled_);
    if (rules_.unstated_length == UnstatedLength::to_end_of_stream &&
        !starts_ignoring_case(protocol, received.substr(0, protocol.size()))) {
        begin_body(Step::open_body, rules_.body_bytes + 1);
        return State::need_more;
    }
    std::size_t end = 0;
    const State found = find_end(received, blank_line, HttpLimits::head_bytes, end);
    if (found != State::complete)
        return found;
    consumed_ = end + blank_line.size();

    std::string_view lines = received.substr(0, end);
    const auto status = status_code(take_line(lines), rules_.http_1_0);
    if (!status)
        return State::mangled;
    status_ = *status;
    if (status_ != 200)
        return State::not_ok;
    return read_header_lines(lines);
}

HttpResponseParser::State HttpResponseParser::read_header_lines(std::string_view lines) {
    constexpr std::string_view length_name = "Content-Length:";
    constexpr std::string_view coding_name = "transfer-encoding:";
    std::optional<std::size_t> length;
    bool chunked = false;
    while (!lines.empty()) {
        const std::string_view line = take_line(lines);
        if (starts_ignoring_case(line, "set-cookie: ")) {
            if (!store_cookie(line))
                return State::mangled;
        } else if (line.starts_with(length_name)) {
            const auto value = to_number(trimmed(line.substr(length_name.size())), 10);
            if (!value || (length && length != value))
                return State::mangled;
            length = value;
        } else if (starts_ignoring_case(line, coding_name)) {
            // Any other coding would leave the body's end unknown (RFC 9112 section 6.3).
            if (!equal_ignoring_case(trimmed(line.substr(coding_name.size())), "chunked"))
                return State::mangled;
            chunked = true;
        }
    }
    if (chunked) {
        step_ = Step::chunk_size;
        return State::need_more;
    }
    if (length) {
        if (*length > rules_.body_bytes)
            return State::mangled;
        begin_body(Step::sized_body, *length);
        return State::need_more;
    }
    switch (rules_.unstated_length) {
    case UnstatedLength::mangled:
        return State::mangled;
    case UnstatedLength::no_body:
        return State::complete;
    case UnstatedLength::to_end_of_stream:
        begin_body(Step::open_body, rules_.body_bytes + 1);
    }
    return State::need_more;
}

void HttpResponseParser::begin_body(Step step, std::size_t most) {
    step_ = step;
    expected_ = most;
}

/// Moves what came to the body. Room for a stated length is made in few steps, because to move a
/// long body costs time and for a moment twice the memory; but only as a multiple of what really
/// came, so that a false length costs its sender something.
void HttpResponseParser::take_body_bytes() {
    constexpr std::size_t growth = 16;
    const std::size_t bytes = std::min(expected_, filled_ - consumed_);
    const std::size_t needed = body_.size() + bytes;
    if (step_ == Step::sized_body && needed > body_.capacity())
        body_.reserve(std::min(body_.size() + expected_, growth * needed));
    body_.append(input_, consumed_, bytes);
    consumed_ += bytes;
    expected_ -= bytes;
}

/// False when the response sets more than the client is willing to hold.
bool HttpResponseParser::store_cookie(std::string_view line) {
    line.remove_prefix(line.find(' ') + 1);
    const auto semicolon = line.find(';');
    const auto equals = line.find('=');
    if (semicolon == std::string_view::npos || equals > semicolon)
        return true;
    const std::string_view name = line.substr(0, equals);
    const std::string_view value = line.substr(equals + 1, semicolon - equals - 1);
    if (has_control_characters(name) || has_control_characters(value))
        return true;
    if (name.size() + value.size() > HttpLimits::cookie_bytes)
        return false;
    if (cookies_.size() >= HttpLimits::cookies && !cookies_.contains(name))
        return false;
    cookies_.insert_or_assign(std::string(name), std::string(value));
    return true;
}

HttpResponseParser::State HttpResponseParser::read_chunk_size() {
    const std::string_view rest(input_.data() + consumed_, filled_ - consumed_);
    std::size_t end = 0;
    const State found = find_end(rest, crlf, HttpLimits::chunk_line_bytes, end);
    if (found != State::complete)
        return found;

    const std::string_view line = rest.substr(0, end);
    const auto size = to_number(line.substr(0, line.find(';')), 16);
    if (!size || *size > rules_.body_bytes - body_.size())
        return State::mangled;
    consumed_ += end + crlf.size();
    if (*size == 0)
        return State::complete; // trailers and the last line end are not looked at
    expected_ = *size;
    step_ = Step::chunk_data;
    return State::need_more;
}

HttpResponseParser::State HttpResponseParser::read_chunk_data() {
    take_body_bytes();
    if (expected_ == 0)
        step_ = Step::chunk_end;
    return State::need_more;
}

HttpResponseParser::State HttpResponseParser::read_chunk_end() {
    const std::string_view rest(input_.data() + consumed_, filled_ - consumed_);
    if (!crlf.starts_with(rest.substr(0, crlf.size())))
        return State::mangled;
    if (rest.size() < crlf.size())
        return State::need_more;
    consumed_ += crlf.size();
    step_ = Step::chunk_size;
    return State::need_more;
}

} // namespace kavro
