#pragma once

#include <string>

struct x509_store_ctx_st;

namespace kavro {

/// Whether the certificate that the TLS library asks about may stand for this host, a name or an
/// address: the server's own (depth 0) must name it, those above need not.
///
/// An asterisk stands for a whole first label, never for a part of one (RFC 9525 section 6.3). The
/// common name counts only in a certificate without alternative names (RFC 6125 section 6.4.4), and
/// never for an address. A name with a NUL in it fits no host.
bool fits_host(x509_store_ctx_st *context, const std::string &host);

} // namespace kavro
