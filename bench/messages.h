#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// What is said in every measured exchange.

namespace bench {

inline constexpr std::string_view broker_path = "/kavro-broker/xml";

/// What a client sends that is not this library; the library writes its own.
std::string hello_request();
std::string operation_request();
std::string list_request();
/// Of a log-in up to the target, in order.
std::vector<std::string> log_in_requests();
/// Asks how many connections and requests there were, this one not counted.
inline constexpr std::string_view count_request = "<count>";

/// The broker's answers: documents in an envelope.
std::string hello_answer();
std::string operation_answer();
std::string password_answer();
std::string allocation_answer();
/// About 590 bytes a desktop, ids in no order.
std::string list_answer(std::size_t desktops);

/// The answer to whatever this request asks for.
std::string answer_to(std::string_view request, std::size_t desktops);

/// Head and body of a POST by a client that is not this library.
std::string http_request(std::string_view body);
std::string http_response(std::string_view body);

} // namespace bench
