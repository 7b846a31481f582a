#include "utils/src/openssl_handles.h"

#include <boost/asio/ssl/error.hpp>
#include <boost/system/system_error.hpp>
#include <openssl/ssl.h>

namespace kavro {

void OpenSslRelease::operator()(BIGNUM *number) const noexcept {
    BN_free(number);
}

void OpenSslRelease::operator()(BIO *bio) const noexcept {
    BIO_free(bio);
}

void OpenSslRelease::operator()(EVP_PKEY *key) const noexcept {
    EVP_PKEY_free(key);
}

void OpenSslRelease::operator()(SSL_CTX *context) const noexcept {
    SSL_CTX_free(context);
}

void OpenSslRelease::operator()(SSL *stream) const noexcept {
    SSL_free(stream);
}

void OpenSslRelease::operator()(X509 *certificate) const noexcept {
    X509_free(certificate);
}

void OpenSslRelease::operator()(X509_STORE *store) const noexcept {
    X509_STORE_free(store);
}

void throw_openssl_error(const char *operation) {
    const boost::system::error_code error(static_cast<int>(ERR_get_error()),
                                          boost::asio::error::get_ssl_category());
    ERR_clear_error();
    throw boost::system::system_error(error, operation);
}

} // namespace kavro
