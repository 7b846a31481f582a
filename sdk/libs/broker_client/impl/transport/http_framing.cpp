#include "transport/http_framing.h"

#include "utils/src/ascii.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace kavro {

using ascii::equal_ignoring_case;
using ascii::starts_ignoring_case;

namespace {

constexpr std::string_view crlf = "\r\n";
constexpr std::string_view blank_line = "\r\n\r\n";
constexpr const char *body_over_limit = "body over its limit";
/// A TLS record holds no more than this, so no single read brings more.
constexpr std::size_t read_bytes = 16 * 1024;

std::string_view without_trailing_blanks(std::string_view text) {
    return text.substr(0, text.find_last_not_of(" \t") + 1);
}

std::string_view trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    return without_trailing_blanks(text);
}

/// The whole text as a number; no sign, no blanks, no overflow.
template <class Number = std::size_t>
std::optional<Number> to_number(std::string_view text, int base) {
    Number number = 0;
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

/// RFC 9112 section 4: a status code is three digits, and its reason phrase may be missing. Another
/// number is a status that nobody knows.
std::optional<std::uint16_t> status_code(std::string_view status_line) {
    constexpr std::size_t digits = 3;
    const std::string_view code = status_line.substr(0, status_line.find(' '));
    if (code.size() > digits && code.starts_with('0'))
        return std::nullopt;
    return to_number<std::uint16_t>(code, 10);
}

bool has_control_characters(std::string_view text) {
    return std::ranges::any_of(text, ascii::is_control);
}

} // namespace

bool lists(std::string_view list, std::string_view token) {
    while (!list.empty()) {
        const auto end = std::min(list.find(','), list.size());
        if (equal_ignoring_case(trimmed(list.substr(0, end)), token))
            return true;
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return false;
}

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
    return step_ == Step::open_body ? State::complete : mangled("cut short");
}

HttpResponseParser::State HttpResponseParser::mangled(const char *reason) {
    reason_ = reason;
    return State::mangled;
}

/// Finds the mark behind something that may be `limit` bytes long. Complete when it is there, else
/// whether it may still come; the same however the bytes came in.
HttpResponseParser::State HttpResponseParser::find_end(std::string_view mark, std::size_t limit,
                                                       const char *too_long, std::size_t &end) {
    const std::size_t most = limit + mark.size();
    end = unread().substr(0, most).find(mark);
    if (end != std::string_view::npos)
        return State::complete;
    return unread().size() < most ? State::need_more : mangled(too_long);
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
            return expected_ == 0 ? mangled(body_over_limit) : State::need_more;
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
    constexpr std::string_view version = "HTTP/1.1 ";
    if (rules_.unstated_length == UnstatedLength::to_end_of_stream &&
        !starts_ignoring_case(protocol, unread().substr(0, protocol.size())))
        return begin_body(Step::open_body, rules_.body_bytes + 1);
    if (rules_.opens_tunnel) // the last line end of a chunked answer before
        consumed_ += std::min(unread().find_first_not_of(crlf), unread().size());
    std::size_t end = 0;
    const State found = find_end(blank_line, HttpLimits::head_bytes, "head over 64 KiB", end);
    if (found != State::complete)
        return found;
    std::string_view lines = unread().substr(0, end);
    if (rules_.opens_tunnel)
        head_ = lines;
    consumed_ += end + blank_line.size();

    std::string_view status_line = take_line(lines);
    if (!starts_ignoring_case(status_line, version) &&
        !(rules_.http_1_0 && starts_ignoring_case(status_line, "HTTP/1.0 ")))
        return mangled("not HTTP/1.1");
    status_line.remove_prefix(version.size());
    const auto status = status_code(status_line);
    if (!status)
        return mangled("bad status");
    status_ = *status;
    if (rules_.opens_tunnel)
        return read_tunnel_head(lines);
    return status_ == 200 ? read_header_lines(lines) : State::not_ok;
}

/// RFC 9110 section 15.2: answers that are not the last one may come before it.
HttpResponseParser::State HttpResponseParser::read_tunnel_head(std::string_view lines) {
    switch (status_ / 100) {
    case 1:
        return State::need_more;
    case 2:
        return State::complete;
    default:
        return read_header_lines(lines);
    }
}

HttpResponseParser::State HttpResponseParser::read_header_lines(std::string_view lines) {
    while (!lines.empty()) {
        if (const char *reason = read_header_line(take_line(lines)))
            return mangled(reason);
    }
    return begin_body();
}

/// Takes from a line what matters. Null, or why the head is mangled.
const char *HttpResponseParser::read_header_line(std::string_view line) {
    constexpr std::string_view length_name = "Content-Length:";
    constexpr std::string_view coding_name = "transfer-encoding:";
    constexpr std::string_view connection_name = "connection:";
    if (starts_ignoring_case(line, "set-cookie: "))
        return store_cookie(line);
    if (rules_.length_in_any_case ? starts_ignoring_case(line, length_name)
                                  : line.starts_with(length_name))
        return read_length(trimmed(line.substr(length_name.size())));
    if (starts_ignoring_case(line, coding_name))
        chunked_ =
            chunked_ || equal_ignoring_case(trimmed(line.substr(coding_name.size())), "chunked");
    if (starts_ignoring_case(line, connection_name))
        closes_ = closes_ || lists(line.substr(connection_name.size()), "close");
    return nullptr;
}

const char *HttpResponseParser::read_length(std::string_view value) {
    const auto length = to_number(value, 10);
    if (!length || (length_ && length_ != length))
        return "bad length";
    length_ = length;
    return nullptr;
}

/// RFC 9112 section 6.3: chunks overrule a length.
HttpResponseParser::State HttpResponseParser::begin_body() {
    if (chunked_)
        return begin_body(Step::chunk_size, 0);
    if (length_)
        return *length_ > rules_.body_bytes ? mangled(body_over_limit)
                                            : begin_body(Step::sized_body, *length_);
    switch (rules_.unstated_length) {
    case UnstatedLength::mangled:
        return mangled("no length");
    case UnstatedLength::no_body:
        return State::complete;
    case UnstatedLength::to_end_of_stream:
        break;
    }
    return begin_body(Step::open_body, rules_.body_bytes + 1);
}

HttpResponseParser::State HttpResponseParser::begin_body(Step step, std::size_t most) {
    step_ = step;
    expected_ = most;
    return State::need_more;
}

/// Moves what came to the body. Room for a stated length is made when a part of it has really come,
/// so that a false length costs its sender something; until then in small steps, because to move a
/// long body costs time and for a moment twice the memory.
void HttpResponseParser::take_body_bytes() {
    constexpr std::size_t part = 16;
    constexpr std::size_t growth = 4;
    const std::size_t bytes = std::min(expected_, filled_ - consumed_);
    const std::size_t needed = body_.size() + bytes;
    const std::size_t whole = body_.size() + expected_;
    if (step_ == Step::sized_body && needed > body_.capacity())
        body_.reserve(needed >= whole / part ? whole : std::min(growth * needed, whole / part));
    body_.append(input_, consumed_, bytes);
    consumed_ += bytes;
    expected_ -= bytes;
}

/// Null, or why the response sets more than the client is willing to hold.
const char *HttpResponseParser::store_cookie(std::string_view line) {
    line.remove_prefix(line.find(' ') + 1);
    const auto semicolon = line.find(';');
    const auto equals = line.find('=');
    if (semicolon == std::string_view::npos || equals > semicolon)
        return nullptr;
    const std::string_view name = line.substr(0, equals);
    const std::string_view value = line.substr(equals + 1, semicolon - equals - 1);
    if (has_control_characters(name) || has_control_characters(value))
        return nullptr;
    if (name.size() + value.size() > HttpLimits::cookie_bytes)
        return "cookie over 4 KiB";
    if (cookies_.size() >= HttpLimits::cookies && !cookies_.contains(name))
        return "over 64 cookies";
    cookies_.insert_or_assign(std::string(name), std::string(value));
    return nullptr;
}

/// RFC 9112 section 7.1.1: blanks and extensions may follow the size; nothing is known of any.
HttpResponseParser::State HttpResponseParser::read_chunk_size() {
    std::size_t end = 0;
    const State found = find_end(crlf, HttpLimits::chunk_line_bytes, "chunk size over 4 KiB", end);
    if (found != State::complete)
        return found;

    const std::string_view line = unread().substr(0, end);
    const auto size = to_number(without_trailing_blanks(line.substr(0, line.find(';'))), 16);
    if (!size)
        return mangled("bad chunk size");
    chunk_lines_ += line.size();
    if (*size > rules_.body_bytes - body_.size() || chunk_lines_ > rules_.body_bytes)
        return mangled(body_over_limit);
    consumed_ += end + crlf.size();
    if (*size == 0)
        return end_chunks();
    expected_ = *size;
    step_ = Step::chunk_data;
    return State::need_more;
}

/// Trailers are not looked at, and not waited for: behind them no answer would be found.
HttpResponseParser::State HttpResponseParser::end_chunks() {
    ended_ = unread().starts_with(crlf);
    if (ended_)
        consumed_ += crlf.size();
    return State::complete;
}

HttpResponseParser::State HttpResponseParser::read_chunk_data() {
    take_body_bytes();
    if (expected_ == 0)
        step_ = Step::chunk_end;
    return State::need_more;
}

HttpResponseParser::State HttpResponseParser::read_chunk_end() {
    if (!crlf.starts_with(unread().substr(0, crlf.size())))
        return mangled("chunk longer than its size");
    if (unread().size() < crlf.size())
        return State::need_more;
    consumed_ += crlf.size();
    step_ = Step::chunk_size;
    return State::need_more;
}

} // namespace kavro
