#pragma once

#include <memory>

// OpenSSL's objects for those who only pass them on and need not read OpenSSL's headers.

struct bignum_st;
struct bio_st;
struct evp_pkey_st;
struct ssl_ctx_st;
struct ssl_st;
struct x509_st;
struct x509_store_ctx_st;
struct x509_store_st;
struct X509_name_st;

namespace kavro {

/// Releases each with the function that OpenSSL made for it.
struct OpenSslRelease {
    void operator()(bignum_st *number) const noexcept;
    void operator()(bio_st *bio) const noexcept;
    void operator()(evp_pkey_st *key) const noexcept;
    void operator()(ssl_ctx_st *context) const noexcept;
    void operator()(ssl_st *stream) const noexcept;
    void operator()(x509_st *certificate) const noexcept;
    void operator()(x509_store_st *store) const noexcept;
};

using BignumHandle = std::unique_ptr<bignum_st, OpenSslRelease>;
using BioHandle = std::unique_ptr<bio_st, OpenSslRelease>;
using EvpPkeyHandle = std::unique_ptr<evp_pkey_st, OpenSslRelease>;
using SslContextHandle = std::unique_ptr<ssl_ctx_st, OpenSslRelease>;
using SslHandle = std::unique_ptr<ssl_st, OpenSslRelease>;
using X509Handle = std::unique_ptr<x509_st, OpenSslRelease>;
using X509StoreHandle = std::unique_ptr<x509_store_st, OpenSslRelease>;

} // namespace kavro
