#include "status_server.h"

#include "status_files.h"

#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http.hpp>

#include <algorithm>

namespace broker_sim {
namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;

namespace {

using Request = http::request<http::string_body>;
using Response = http::response<http::string_body>;

constexpr std::chrono::seconds patience{30};

struct File {
    std::string_view path, type;
    const char *content; ///< null: the status itself
};

const File files[] = {
    {"/", "text/html; charset=utf-8", status_html},
    {"/status.css", "text/css; charset=utf-8", status_css},
    {"/status.js", "text/javascript; charset=utf-8", status_js},
    {"/status.json", "application/json", nullptr},
};

/// Any web page can have its own name point to this machine; the browser still states that name.
bool names_this_machine(std::string_view host) {
    const std::string_view name = host.substr(0, host.rfind(':'));
    return name == "localhost" || name == "127.0.0.1";
}

http::status verdict(const Request &request, const File *file) {
    if (!names_this_machine(request[http::field::host]))
        return http::status::forbidden;
    if (request.method() != http::verb::get && request.method() != http::verb::head)
        return http::status::method_not_allowed;
    return file ? http::status::ok : http::status::not_found;
}

Response respond(const Request &request, const std::function<std::string()> &status) {
    const auto file = std::ranges::find(files, std::string_view(request.target()), &File::path);
    const File *const found = file == std::end(files) ? nullptr : file;
    Response response(verdict(request, found), request.version());
    response.keep_alive(request.keep_alive());
    response.set(http::field::cache_control, "no-store");
    response.set("Content-Security-Policy",
                 "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; "
                 "img-src data:; base-uri 'none'; form-action 'none'; frame-ancestors 'none'");
    response.set("Cross-Origin-Resource-Policy", "same-origin");
    response.set("X-Content-Type-Options", "nosniff");
    if (response.result() == http::status::method_not_allowed)
        response.set(http::field::allow, "GET, HEAD");
    if (response.result() == http::status::ok) {
        response.set(http::field::content_type, found->type);
        response.body() = found->content ? found->content : status();
    }
    response.prepare_payload();
    if (request.method() == http::verb::head)
        response.body().clear();
    return response;
}

} // namespace

StatusServer::StatusServer(std::uint16_t port, std::function<std::string()> status)
    : status_(std::move(status)), connections_("127.0.0.1", port) {
    connections_.start([this](Socket socket) { return serve(std::move(socket)); });
}

asio::awaitable<void> StatusServer::serve(Socket socket) {
    beast::tcp_stream stream(std::move(socket));
    beast::flat_buffer buffer;
    try {
        for (bool keep_alive = true; keep_alive;) {
            Request request;
            stream.expires_after(patience);
            co_await http::async_read(stream, buffer, request, asio::use_awaitable);
            const Response response = respond(request, status_);
            co_await http::async_write(stream, response, asio::use_awaitable);
            keep_alive = response.keep_alive();
        }
    } catch (const boost::system::system_error &) {
        // The browser went away, or sent what is no request: it is not answered.
    }
}

} // namespace broker_sim
