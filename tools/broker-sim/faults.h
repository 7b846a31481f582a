#pragma once
#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace broker_sim {

/// The servers of a simulator, named like their sections of a scenario.
namespace server_name {
inline constexpr std::string_view broker = "broker";
inline constexpr std::string_view view_broker = "view_broker";
inline constexpr std::string_view direct_host = "direct_host";
inline constexpr std::string_view registration = "registration";
inline constexpr std::string_view provisioning = "provisioning";
inline constexpr std::string_view proxy = "proxy";
} // namespace server_name

/// Which requests a fault or an override applies to. Empty and 0 stand for "any".
struct Match {
    std::string request{};   ///< kind: the name of the message element, such as "hello"
    unsigned connection = 0; ///< n-th TCP connection of a server's life, from 1
    unsigned nth = 0; ///< only the n-th that matches the rest, counted from when the rule was given
    std::string server{};
};

enum class Stage {
    accept,    ///< TCP connects never complete (stall) or are refused (reset), to the end
    handshake, ///< after TCP accept, before the first byte of TLS
    response,  ///< at byte `at_byte` of the HTTP response
};

enum class Ending {
    none,
    stall, ///< silence, connection left open
    close, ///< TLS close_notify, then FIN
    fin,   ///< FIN without close_notify
    reset, ///< TCP RST
};

/// How the way of an answer is spoilt. All parts of one fault apply together.
struct Fault {
    Match match{};

    Stage stage = Stage::response;
    Ending ending = Ending::none;
    std::size_t at_byte = 0; ///< of the response (head and body): what is sent before the ending

    std::chrono::milliseconds delay{0}; ///< before the response (or, at that stage, the handshake)
    std::size_t record_size = 0;        ///< TLS records of this many bytes
    std::size_t drip_bytes = 0;         ///< send this many bytes ...
    std::chrono::milliseconds drip_every{0}; ///< ... and wait this long, until all is sent
    std::vector<std::size_t> chunks{}; ///< chunked transfer in these sizes; the last one repeats
    std::string status_line{};         ///< instead of "HTTP/1.1 200 OK"
    bool bad_xml = false;              ///< the body is cut in its middle, with a length that fits
};

/// Answers a request by something else. With `raw`, `body`, `result_id` or `error_id` (the first
/// of them that is given counts) the broker never sees the request; otherwise its own answer is
/// sent with the given status and headers.
struct Override {
    Match match{};

    unsigned status = 0; ///< HTTP status; 0: left as it is
    /// Replace the headers of the same name, except Set-Cookie, which is added.
    std::vector<std::pair<std::string, std::string>> headers{};
    std::optional<std::string> body{};
    std::optional<std::string> raw{}; ///< the whole response, head and all
    std::string result_id{};          ///< the message's answer element with this result
    std::string error_id{};           ///< an error-resp with this result
    std::string result_str{};
    std::string detected_by{"BROKER"};
    std::string err_detail{};
};

} // namespace broker_sim
