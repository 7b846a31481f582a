#pragma once

#include "utils/src/secure_text.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
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

/// Whether a list of tokens, with commas between, has this one in any letter case (RFC 9110 section
/// 5.6.1).
bool lists(std::string_view list, std::string_view token);

/// The whole POST request, head and body.
SecureText http_post_request(std::string_view path, std::string_view host,
                             std::string_view client_log_id, const CookieTable &cookies,
                             std::string_view xml);

/// What a response is read as when it does not say how long its body is.
enum class UnstatedLength {
    mangled,
    no_body,
    /// A body to the end of the stream; so is a response without any head.
    to_end_of_stream
};

/// What is taken from a server. Brokers are held to the defaults.
struct HttpRules {
    std::size_t body_bytes = HttpLimits::body_bytes;
    UnstatedLength unstated_length = UnstatedLength::mangled;
    bool http_1_0 = false;           ///< is taken as well
    bool length_in_any_case = false; ///< "content-length" (RFC 9110 section 5.1) is a length too
    /// The answer to CONNECT (RFC 9110 section 9.3.6): any 2xx ends with its head, and of another
    /// the body is read as well; its head is kept.
    bool opens_tunnel = false;
};

/// Reads one HTTP/1.1 response as its bytes come in; knows no socket.
///
/// The owner reads into space() and says with received() how much came. Bytes after the end of the
/// response are ignored.
class HttpResponseParser {
public:
    enum class State {
        need_more,
        complete, ///< status 200 (or what the rules take), body whole
        mangled,  ///< not HTTP/1.1, unreadable, or over a limit
        not_ok    ///< any other status; its body is not read
    };

    struct Space {
        char *data;
        std::size_t size;
    };

    /// Cookies that the response sets go into `cookies`, which must outlive the parser.
    explicit HttpResponseParser(CookieTable &cookies, const HttpRules &rules = {})
        : cookies_(cookies), rules_(rules) {}

    Space space();
    State received(std::size_t bytes);
    /// Nothing more will come: complete or mangled.
    State end_of_stream();
    bool in_head() const { return step_ == Step::head; }
    /// Why the response is mangled, in a few words.
    std::string_view reason() const { return reason_; }
    /// Of the head, once it has been read; 0 for none.
    int status() const { return status_; }
    /// Of a complete response: whether the server waits for another request on the connection.
    bool keeps_connection() const { return !closes_ && ended_ && !overrun(); }
    /// Whether bytes came behind a complete response.
    bool overrun() const { return ended_ && !unread().empty(); }
    /// As it came, to the last line end; empty unless the rules keep it.
    std::string_view head() const { return head_; }
    /// Whether the head says how long the body is.
    bool has_length() const { return chunked_ || length_; }
    /// What came behind the response.
    std::string_view rest() const { return unread(); }
    /// The body of a complete response; afterwards the parser holds none.
    SecureText take_body() { return std::move(body_); }

private:
    enum class Step { head, sized_body, open_body, chunk_size, chunk_data, chunk_end };

    State advance();
    State read_head();
    State read_tunnel_head(std::string_view lines);
    State read_header_lines(std::string_view lines);
    const char *read_header_line(std::string_view line);
    const char *read_length(std::string_view value);
    const char *store_cookie(std::string_view line);
    State begin_body();
    State begin_body(Step step, std::size_t most);
    void take_body_bytes();
    State read_chunk_size();
    State end_chunks();
    State read_chunk_data();
    State read_chunk_end();
    std::string_view unread() const { return {input_.data() + consumed_, filled_ - consumed_}; }
    State find_end(std::string_view mark, std::size_t limit, const char *too_long,
                   std::size_t &end);
    State mangled(const char *reason);

    CookieTable &cookies_;
    const HttpRules rules_;
    Step step_ = Step::head;
    int status_ = 0;
    std::optional<std::size_t> length_;
    bool chunked_ = false;
    bool closes_ = false; ///< the server says so
    bool ended_ = true;   ///< nothing of the response is missing; the end of chunks may be
    const char *reason_ = "";
    SecureText head_;
    /// What came in and is not yet understood: input_[consumed_ .. filled_).
    SecureText input_;
    std::size_t consumed_ = 0;
    std::size_t filled_ = 0;
    SecureText body_;
    /// What is left of the body, of one byte more than the longest open one, or of the chunk.
    std::size_t expected_ = 0;
    std::size_t chunk_lines_ = 0; ///< how long all were together
};

} // namespace kavro
