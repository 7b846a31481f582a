#pragma once
#include "scenario.h"
#include "tls_identity.h"

#include <boost/asio/ssl/context.hpp>

namespace broker_sim {

/// The CA that all simulators of this process share.
const Identity &process_ca();

/// A freshly issued certificate for a server on this address.
Identity server_identity(const Tls &tls, const std::string &address);

boost::asio::ssl::context server_tls(const Tls &tls, const Identity &identity);

} // namespace broker_sim
