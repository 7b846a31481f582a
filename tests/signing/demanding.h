#pragma once

#include "minting.h"
#include "scripted_peer.h"

namespace signing {

using namespace test_support;

/// A server that lets in those whose certificate is by the trusted authority, and who sign with one
/// of these algorithms.
inline PeerTls demanding(const char *signatures, int min_version = 0, int max_version = 0) {
    return {.min_version = min_version,
            .max_version = max_version,
            .demand_client_certificate = true,
            .client_authority = trusted_root().certificate_pem(),
            .client_signatures = signatures};
}

} // namespace signing
