#include "trust/anchor_bundle.h"

#include "trust/der_reader.h"
#include "utils/src/base64.h"
#include "utils/src/openssl_handles.h"

#include <openssl/x509.h>

#include <filesystem>
#include <fstream>
#include <memory>

namespace kavro {

namespace {

/// RFC 5280 section 4.1: version, serial number, algorithm, issuer and validity come before it.
std::optional<Bytes> subject_of(Bytes certificate) {
    auto outer = DerReader(certificate).inside(V_ASN1_SEQUENCE);
    auto body = outer ? outer->inside(V_ASN1_SEQUENCE) : std::nullopt;
    if (!body)
        return std::nullopt;
    auto element = body->next();
    if (element && element->tag == -1) // the version, which may be missing
        element = body->next();
    for (int skipped = 0; element && skipped < 3; ++skipped)
        element = body->next();
    return element ? body->whole(V_ASN1_SEQUENCE) : std::nullopt;
}

/// FNV-1a over lower-cased letters and digits.
std::uint32_t value_key(Bytes value) {
    std::uint32_t key = 2166136261U;
    for (std::uint8_t c : value) {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<std::uint8_t>(c - 'A' + 'a');
        if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'))
            key = (key ^ c) * 16777619U;
    }
    return key;
}

/// Hands out a certificate that the store holds, without a reference of its own. The store's may be
/// another than the one just added: two threads may have built the same.
int lend(X509_STORE *store, const X509_NAME *subject, X509_OBJECT *found) {
    X509_STORE_lock(store);
    const X509_OBJECT *const kept =
        X509_OBJECT_retrieve_by_subject(X509_STORE_get0_objects(store), X509_LU_X509, subject);
    X509 *const certificate = kept != nullptr ? X509_OBJECT_get0_X509(kept) : nullptr;
    const bool lent = certificate != nullptr && X509_OBJECT_set1_X509(found, certificate) == 1;
    if (lent)
        X509_free(certificate);
    X509_STORE_unlock(store);
    return lent ? 1 : 0;
}

int find_by_subject(X509_LOOKUP *lookup, X509_LOOKUP_TYPE type, const X509_NAME *subject,
                    X509_OBJECT *found) {
    if (type != X509_LU_X509)
        return 0;
    try {
        const auto &bundle =
            *static_cast<const AnchorBundle *>(X509_LOOKUP_get_method_data(lookup));
        const auto certificates = bundle.find(subject);
        // The store keeps all of them, because the caller goes on to choose among those it has.
        X509_STORE *const store = X509_LOOKUP_get_store(lookup);
        for (const auto &certificate : certificates)
            X509_STORE_add_cert(store, certificate.get());
        return certificates.empty() ? 0 : lend(store, subject, found);
    } catch (...) {
        return 0; // no memory; nothing is thrown through OpenSSL
    }
}

void free_bundle(X509_LOOKUP *lookup) {
    delete static_cast<AnchorBundle *>(X509_LOOKUP_get_method_data(lookup));
}

X509_LOOKUP_METHOD *lookup_method() {
    // Never freed: a store that lives as long as the process needs it to the very end.
    static X509_LOOKUP_METHOD *const made = [] {
        X509_LOOKUP_METHOD *const method = X509_LOOKUP_meth_new("trust anchors by subject");
        if (method == nullptr ||
            X509_LOOKUP_meth_set_get_by_subject(method, find_by_subject) != 1 ||
            X509_LOOKUP_meth_set_free(method, free_bundle) != 1)
            throw_openssl_error("X509_LOOKUP_meth_new");
        return method;
    }();
    return made;
}

} // namespace

std::optional<std::uint32_t> name_key(Bytes name) {
    std::uint32_t key = 0; // a sum, because OpenSSL orders the parts of a set in its own way
    auto sets = DerReader(name).inside(V_ASN1_SEQUENCE);
    while (sets && !sets->at_end()) {
        auto attributes = sets->inside(V_ASN1_SET);
        if (!attributes)
            return std::nullopt;
        while (!attributes->at_end()) {
            auto attribute = attributes->inside(V_ASN1_SEQUENCE);
            if (!attribute || !attribute->next())
                return std::nullopt;
            const auto value = attribute->next();
            if (!value || value->constructed || value->tag == V_ASN1_BMPSTRING ||
                value->tag == V_ASN1_UNIVERSALSTRING)
                return std::nullopt;
            key += value_key(value->content);
        }
    }
    return sets ? std::optional(key) : std::nullopt;
}

std::optional<AnchorBundle> AnchorBundle::read(const std::string &path) {
    std::error_code missing;
    if (!std::filesystem::is_regular_file(path, missing))
        return std::nullopt;
    std::string text(std::filesystem::file_size(path, missing), '\0');
    std::ifstream file(path, std::ios::binary);
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    AnchorBundle bundle(std::move(text));
    if (!file || !bundle.index())
        return std::nullopt;
    return bundle;
}

bool AnchorBundle::index() {
    constexpr std::string_view any = "-----BEGIN ";
    constexpr std::string_view begin = "-----BEGIN CERTIFICATE-----\n";
    constexpr std::string_view end = "-----END CERTIFICATE-----";
    std::string_view rest = text_;
    for (auto at = rest.find(any); at != std::string_view::npos; at = rest.find(any)) {
        const bool starts_line = at == 0 ? rest.data() == text_.data() : rest[at - 1] == '\n';
        rest.remove_prefix(at);
        const auto size = rest.find(end);
        if (!starts_line || !rest.starts_with(begin) || size == std::string_view::npos)
            return false;
        const std::string_view base64 = rest.substr(begin.size(), size - begin.size());
        const auto certificate = decode_base64(base64);
        const auto subject = certificate ? subject_of(*certificate) : std::nullopt;
        if (!subject)
            return false;
        by_subject_.emplace(name_key(*subject), base64);
        rest.remove_prefix(size + end.size());
    }
    return true;
}

std::vector<X509Handle> AnchorBundle::find(const X509_NAME *subject) const {
    std::vector<X509Handle> found;
    const auto look_at = [&](auto first, auto last) {
        for (; first != last; ++first) {
            const auto der = decode_base64(first->second);
            const unsigned char *bytes = der->data();
            X509Handle certificate(d2i_X509(nullptr, &bytes, static_cast<long>(der->size())));
            if (certificate &&
                X509_NAME_cmp(X509_get_subject_name(certificate.get()), subject) == 0)
                found.push_back(std::move(certificate));
        }
    };
    const unsigned char *name = nullptr;
    std::size_t size = 0;
    const bool readable = X509_NAME_get0_der(subject, &name, &size) == 1;
    const auto key = readable ? name_key({name, size}) : std::nullopt;
    ERR_set_mark(); // an anchor that cannot be built is as good as none
    if (key) {
        const auto [first, last] = by_subject_.equal_range(key);
        look_at(first, last);
        const auto [unkeyed, keyed] = by_subject_.equal_range(std::nullopt);
        look_at(unkeyed, keyed);
    } else {
        look_at(by_subject_.begin(), by_subject_.end());
    }
    ERR_pop_to_mark();
    return found;
}

void add_bundle(X509_STORE *store, AnchorBundle bundle) {
    auto kept = std::make_unique<AnchorBundle>(std::move(bundle));
    X509_LOOKUP *const lookup = X509_STORE_add_lookup(store, lookup_method());
    if (lookup == nullptr || X509_LOOKUP_set_method_data(lookup, kept.get()) != 1)
        throw_openssl_error("X509_STORE_add_lookup");
    kept.release();
}

} // namespace kavro
