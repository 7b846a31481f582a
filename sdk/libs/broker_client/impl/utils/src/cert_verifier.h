#pragma once

#include <memory>

struct x509_st;

namespace kavro {

/// A second authority, besides the TLS library's own chain check, on whether a certificate is
/// trusted.
class ICertVerifier {
public:
    virtual ~ICertVerifier() = default;
    virtual void reserved() {} ///< holds a place in the virtual table
    virtual bool verify(x509_st *certificate) = 0;
    /// Remembers a certificate that was accepted, for the chains of others.
    virtual bool add(x509_st *certificate) = 0;
};

/// Trusts nothing, so that the TLS library alone decides.
class AlwaysBadCertVerifier final : public ICertVerifier {
public:
    bool verify(x509_st *) override { return false; }
    bool add(x509_st *) override { return true; }
};

} // namespace kavro
