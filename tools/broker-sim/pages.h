#pragma once
#include "broker.h"
#include "http_message.h"

#include <optional>
#include <string>
#include <string_view>

namespace broker_sim {

/// A request as the server that it came to understands it.
struct Visit {
    std::string_view server;
    const HttpRequest &http;
    std::string kind{}; ///< that rules go by: the message element, or what stands at the path
    Message message{};
    std::optional<ProtocolError> error{}; ///< why the body is no message
};

/// All kinds that a visit can have.
bool is_request_kind(std::string_view kind);

Visit receive(std::string_view server, const HttpRequest &request);

/// What the server has at the path, or an HTTP error.
HttpAnswer answer(Broker &broker, const Visit &visit);

} // namespace broker_sim
