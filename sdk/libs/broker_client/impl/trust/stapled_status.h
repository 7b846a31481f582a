#pragma once

#include "utils/src/openssl_types.h"

#include <string_view>

struct stack_st_X509;

namespace kavro {

/// What a server shows, signed by its issuer, of its own certificate's revocation (RFC 6066
/// section 8). Nothing counts that cannot be verified, is out of date or about another certificate.
enum class StapledStatus { none, good, revoked };

/// Of the server's certificate, which is the first of the chain that was verified up to one of the
/// anchors.
///
/// @param response in DER form (RFC 6960 section 4.2.1).
StapledStatus stapled_status(std::string_view response, stack_st_X509 *chain,
                             x509_store_st *anchors);

/// What came in this connection's handshake.
StapledStatus stapled_status(ssl_st *tls);

/// Whether the certificate says that its server always shows its status (RFC 7633 section 4.2.3.1).
bool must_be_stapled(const x509_st *certificate);

} // namespace kavro
