#pragma once
#include "scenario.h"
#include "tls_identity.h"

#include <boost/asio/ssl/context.hpp>

namespace broker_sim {

/// The CA that all simulators of this process share.
const Identity &process_ca();

/// The TLS side of a scenario, its server certificate freshly issued.
boost::asio::ssl::context server_tls(const Scenario &scenario);

} // namespace broker_sim
