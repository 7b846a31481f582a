#include "http_message.h"

#include <boost/beast/http.hpp>

#include <algorithm>
#include <charconv>
#include <sstream>

namespace broker_sim {
namespace http = boost::beast::http;
namespace {

std::string chunked(std::string_view body, const std::vector<std::size_t> &sizes) {
    std::ostringstream text;
    for (std::size_t i = 0; !body.empty(); ++i) {
        const std::size_t wanted = sizes[std::min(i, sizes.size() - 1)];
        const std::string_view chunk = body.substr(0, std::max<std::size_t>(wanted, 1));
        text << std::hex << chunk.size() << "\r\n" << chunk << "\r\n";
        body.remove_prefix(chunk.size());
    }
    text << "0\r\n\r\n";
    return text.str();
}

/// What a head states anywhere as its length. Clients of a provisioning server write all their
/// fields into one, so that to a parser it is part of another field's value.
std::size_t stated_length(std::string_view head) {
    static constexpr std::string_view name = "Content-Length: ";
    const std::size_t at = head.find(name);
    std::size_t length = 0;
    if (at != head.npos)
        std::from_chars(head.data() + at + name.size(), head.data() + head.size(), length);
    return length;
}

bool may_be_repeated(http::field field) {
    return field == http::field::set_cookie || field == http::field::proxy_authenticate;
}

std::string response_head(const HttpAnswer &answer, std::size_t body_size, const Fault &fault) {
    http::response<http::empty_body> response(static_cast<http::status>(answer.status), 11);
    response.set(http::field::server, "broker-sim");
    if (!answer.consents()) { // RFC 9110 section 9.3.6: a consent has neither length nor coding
        response.set(http::field::content_type, "text/xml; charset=UTF-8");
        if (fault.chunks.empty())
            response.content_length(body_size);
        else
            response.chunked(true);
    }
    for (const auto &[name, value] : answer.headers)
        if (may_be_repeated(http::string_to_field(name)))
            response.insert(name, value);
        else
            response.set(name, value);
    std::ostringstream text;
    text << response.base();
    std::string head = text.str();
    if (!fault.status_line.empty())
        head.replace(0, head.find("\r\n"), fault.status_line);
    return head;
}

} // namespace

std::optional<std::string> HttpRequest::cookie(std::string_view name) const {
    std::istringstream list(cookies);
    for (std::string pair; std::getline(list >> std::ws, pair, ';');)
        if (const std::size_t equals = pair.find('=');
            std::string_view(pair).substr(0, equals) == name)
            return pair.substr(std::min(equals, pair.size() - 1) + 1);
    return std::nullopt;
}

HttpRequest read_request_head(std::string head) {
    HttpRequest request{.head = std::move(head)};
    http::request_parser<http::empty_body> parser;
    parser.body_limit(boost::none);
    boost::system::error_code error;
    parser.put(boost::asio::buffer(request.head), error);
    request.well_formed = !error && parser.is_header_done();
    if (!request.well_formed)
        return request;
    const auto &fields = parser.get();
    request.method = std::string(fields.method_string());
    request.target = std::string(fields.target());
    request.cookies = std::string(fields[http::field::cookie]);
    request.proxy_authorization = std::string(fields[http::field::proxy_authorization]);
    request.content_length = parser.content_length().value_or(stated_length(request.head));
    request.keep_alive = fields.keep_alive();
    return request;
}

bool HttpAnswer::says_close() const {
    return std::ranges::any_of(headers, [](const auto &header) {
        return http::string_to_field(header.first) == http::field::connection &&
               http::token_list(header.second).exists("close");
    });
}

std::string response_bytes(const HttpAnswer &answer, const Fault &fault) {
    if (answer.raw)
        return *answer.raw;
    std::string_view body = answer.body;
    if (fault.bad_xml)
        body = body.substr(0, body.size() / 2);
    std::string bytes = response_head(answer, body.size(), fault);
    if (fault.chunks.empty())
        bytes.append(body);
    else
        bytes.append(chunked(body, fault.chunks));
    return bytes;
}

} // namespace broker_sim
