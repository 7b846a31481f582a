#pragma once

#include "kavro/src/auth_method.h"
#include "kavro/src/message.h"

namespace kavro {

/// Who the client is and what it found when it connected; what the hello tells the broker.
struct ClientIdentity {
    std::string product_name;
    std::string product_version;
    std::string platform;
    std::string locale;
    std::string time_zone; ///< Windows key name
    std::string host_name;
    std::string local_address;
    std::string mac_address;
    std::string server_address;
    std::string server_host_name;
};

struct HelloAnswer {
    HelloResult hello;
    AuthAnswer auth;
};

/// The version with the leading zeros of each component taken off: 01.002.0 becomes 1.2.0.
std::string without_leading_zeros(std::string_view version);

/// The first message to a broker. The variables are the client's.
extern const Message<HelloAnswer, const Dialect &, const ClientIdentity &, const Variables &>
    hello_message;

} // namespace kavro
