#pragma once

#include "utils/src/openssl_types.h"

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

namespace kavro {

template <auto Release>
struct OpenSslReleaseBy {
    template <class T>
    void operator()(T *object) const {
        Release(object);
    }
};
/// For the kinds of object that only one source file knows.
template <class T, auto Release>
using OpenSslHandle = std::unique_ptr<T, OpenSslReleaseBy<Release>>;

struct OpenSslFree {
    void operator()(void *memory) const { OPENSSL_free(memory); }
};
/// A text that OpenSSL allocated.
using OpenSslText = std::unique_ptr<char, OpenSslFree>;

/// Throws the oldest error of this thread's queue. `operation` names what failed.
[[noreturn]] void throw_openssl_error(const char *operation);

/// Empties this thread's error queue, so that what stands in it later belongs to a later call.
inline void drain_openssl_errors() {
    ERR_clear_error();
}

} // namespace kavro
