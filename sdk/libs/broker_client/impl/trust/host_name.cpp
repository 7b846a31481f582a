#include "trust/host_name.h"

#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

namespace kavro {

namespace {

bool names_host(X509 *certificate, const std::string &host) {
    constexpr int is_no_address = -2;
    const int by_address = X509_check_ip_asc(certificate, host.c_str(), 0);
    if (by_address != is_no_address)
        return by_address == 1;
    unsigned flags = X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS;
    if (X509_get_ext_by_NID(certificate, NID_subject_alt_name, -1) >= 0)
        flags |= X509_CHECK_FLAG_NEVER_CHECK_SUBJECT;
    return X509_check_host(certificate, host.data(), host.size(), flags, nullptr) == 1;
}

} // namespace

bool fits_host(X509_STORE_CTX *context, const std::string &host) {
    return X509_STORE_CTX_get_error_depth(context) != 0 ||
           names_host(X509_STORE_CTX_get_current_cert(context), host);
}

} // namespace kavro
