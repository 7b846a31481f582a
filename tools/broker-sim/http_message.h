#pragma once
#include "faults.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace broker_sim {

/// A request with the raw bytes that it was read from.
struct HttpRequest {
    std::string head{}; ///< up to and with the blank line
    std::string body{};

    bool well_formed = false; ///< the rest is only known when this holds
    std::string method{};
    std::string target{};
    std::string cookies{};
    std::string proxy_authorization{};
    std::string proxy_user{}; ///< who has logged in already, as SOCKS does before it asks
    std::size_t content_length = 0;
    bool keep_alive = false;

    std::optional<std::string> cookie(std::string_view name) const;
};

HttpRequest read_request_head(std::string head);

struct HttpAnswer {
    unsigned status = 200;
    std::vector<std::pair<std::string, std::string>> headers{};
    std::string body{};
    std::optional<std::string> raw{}; ///< the whole response, instead of all of the above

    bool tunnel = false; ///< a proxy's consent, which has no body, as long as its status is one

    bool consents() const { return tunnel && status / 100 == 2; }
    /// Whether it tells the client that the connection ends.
    bool says_close() const;
};

/// The response as it goes over the wire, spoilt by what the fault says of its bytes.
std::string response_bytes(const HttpAnswer &answer, const Fault &fault);

} // namespace broker_sim
