#pragma once

#include <boost/asio/ssl/error.hpp>
#include <boost/system/system_error.hpp>
#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

#include <memory>

namespace kavro {

/// Releases an OpenSSL object with the function that OpenSSL made for it.
template <auto Release>
struct OpenSslRelease {
    template <class T>
    void operator()(T *object) const {
        Release(object);
    }
};

using BioHandle = std::unique_ptr<BIO, OpenSslRelease<BIO_free>>;
using X509Handle = std::unique_ptr<X509, OpenSslRelease<X509_free>>;
using EvpPkeyHandle = std::unique_ptr<EVP_PKEY, OpenSslRelease<EVP_PKEY_free>>;
using BignumHandle = std::unique_ptr<BIGNUM, OpenSslRelease<BN_free>>;
using X509StoreHandle = std::unique_ptr<X509_STORE, OpenSslRelease<X509_STORE_free>>;

struct OpenSslFree {
    void operator()(void *memory) const { OPENSSL_free(memory); }
};
/// A text that OpenSSL allocated.
using OpenSslText = std::unique_ptr<char, OpenSslFree>;

/// Throws the oldest error of this thread's queue. `operation` names what failed.
[[noreturn]] inline void throw_openssl_error(const char *operation) {
    const boost::system::error_code error(static_cast<int>(ERR_get_error()),
                                          boost::asio::error::get_ssl_category());
    ERR_clear_error();
    throw boost::system::system_error(error, operation);
}

/// Empties this thread's error queue, so that what stands in it later belongs to a later call.
inline void drain_openssl_errors() {
    ERR_clear_error();
}

} // namespace kavro
