#pragma once

#include "utils/src/secure_text.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace kavro {

/// Cookies of one peer by name, in byte-wise order, as they are sent back.
using CookieTable = std::map<std::string, std::string, std::less<>>;

/// What a peer can make the client hold. Anything over a limit is a mangled response.
struct HttpLimits {
    static constexpr std::size_t head_bytes = 64 * 1024;
    static constexpr std::size_t body_bytes = 64 * 1024 * 1024;
    static constexpr std::size_t chunk_line_bytes = 4 * 1024;
    static constexpr std::size_t cookies = 64;
    static constexpr std::size_t cookie_bytes = 4 * 1024;
};

/// The whole POST request, head and body.
SecureText http_post_request(std::string_view path, std::string_view host,
                             std::string_view client_log_id, const CookieTable &cookies,
                             std::string_view xml);

/// Reads one HTTP/1.1 response as its bytes come in; knows no socket.
///
/// The owner reads into space() and says with received() how much came. Bytes after the end of the
/// response are ignored.
class HttpResponseParser {
public:
    enum class State {
        need_more,
        complete, ///< status 200, body whole
        mangled,  ///< not HTTP/1.1, unreadable, or over a limit
        not_ok    ///< any other status; its body is not read
    };

    struct Space {
        char *data;
        std::size_t size;
    };

    /// Cookies that the response sets go into `cookies`, which must outlive the parser.
    explicit HttpResponseParser(CookieTable &cookies) : cookies_(cookies) {}

    Space space();
    State received(std::size_t bytes);
    /// The body of a complete response; afterwards the parser holds none.
    SecureText take_body() { return std::move(body_); }

private:
    enum class Step { head, sized_body, chunk_size, chunk_data, chunk_end };

    State advance();
    State read_head();
    State read_header_lines(std::string_view lines);
    State read_chunk_size();
    State read_chunk_data();
    State read_chunk_end();
    bool store_cookie(std::string_view line);

    CookieTable &cookies_;
    Step step_ = Step::head;
    /// What came in and is not yet understood: input_[consumed_ .. filled_).
    SecureText input_;
    std::size_t consumed_ = 0;
    std::size_t filled_ = 0;
    /// The body so far is body_[0 .. body_filled_); a sized body is received in place.
    SecureText body_;
    std::size_t body_filled_ = 0;
    std::size_t expected_ = 0; ///< length of the sized body, or what is left of the chunk
};

} // namespace kavro
