#pragma once
#include <string>

namespace broker_sim {

/// The body of a request for people to read, with every secret masked as in the log of a client;
/// empty for none.
std::string masked_request(const std::string &body);

} // namespace broker_sim
