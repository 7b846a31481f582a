#pragma once

struct x509_st;

namespace kavro {

/// Whether a certificate's key is as long as it must be. The log tells its kind and length.
bool key_long_enough(const x509_st *certificate, bool rsa_only);

} // namespace kavro
