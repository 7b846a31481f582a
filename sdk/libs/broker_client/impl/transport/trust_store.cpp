#include "transport/trust_store.h"

#include "utils/src/broker_log.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <string>

namespace kavro {

namespace {

namespace fs = std::filesystem;

/// Tells one state of a file or folder from another without reading it.
struct FileStamp {
    fs::path path;
    fs::file_time_type changed{};
    std::uintmax_t size = 0;

    explicit FileStamp(fs::path file) : path(std::move(file)) {
        std::error_code missing;
        changed = fs::last_write_time(path, missing);
        size = fs::is_regular_file(path, missing) ? fs::file_size(path, missing) : 0;
    }
    bool operator==(const FileStamp &) const = default;
};

X509StoreHandle load_default_paths() {
    drain_openssl_errors();
    X509StoreHandle store(X509_STORE_new());
    if (!store || X509_STORE_set_default_paths(store.get()) != 1)
        throw_openssl_error("set_default_verify_paths");
    drain_openssl_errors(); // a missing bundle is reported there, but is no failure
    return store;
}

/// More, or larger ones, nobody trusts; a broken extractor may say anything.
constexpr int max_anchors = 10'000;
constexpr int max_anchor_bytes = 1024 * 1024;

X509Handle extract_certificate(const CertificateExtractor &extractor, int index) {
    const int size = extractor.size(index);
    if (size <= 0 || size > max_anchor_bytes)
        return nullptr;
    std::vector<std::uint8_t> der(static_cast<std::size_t>(size));
    if (!extractor.copy(index, der.data()))
        return nullptr;
    return Security::decode_certificate(der);
}

std::string serial_number(const X509 *certificate) {
    const BignumHandle number(ASN1_INTEGER_to_BN(X509_get0_serialNumber(certificate), nullptr));
    const OpenSslText text(number ? BN_bn2hex(number.get()) : nullptr);
    return text ? text.get() : "";
}

/// False for a certificate that the store holds already; OpenSSL calls that a success.
bool add_new(X509_STORE *store, X509 *certificate) {
    const auto count = [store] { return sk_X509_OBJECT_num(X509_STORE_get0_objects(store)); };
    const int before = count();
    return X509_STORE_add_cert(store, certificate) == 1 && count() > before;
}

bool add_anchor(X509_STORE *store, X509 *certificate) {
    const bool added = add_new(store, certificate);
    drain_openssl_errors();
    const std::string subject = Security::one_line_name(X509_get_subject_name(certificate));
    const std::string issuer = Security::one_line_name(X509_get_issuer_name(certificate));
    const std::string serial = serial_number(certificate);
    if (added)
        log_verbose("HttpsXmlClient::setCertificateExtractor(): added subject '%s', issuer '%s', "
                    "serial '%s'.",
                    subject.c_str(), issuer.c_str(), serial.c_str());
    else
        broker_log(LogCategory::general, LogSeverity::debug, generic_error,
                   "HttpsXmlClient::setCertificateExtractor(): COULDN'T add subject '%s', issuer "
                   "'%s', serial '%s'.",
                   subject.c_str(), issuer.c_str(), serial.c_str());
    return added;
}

} // namespace

std::vector<X509Handle> extract_certificates(const CertificateExtractor &extractor) {
    std::vector<X509Handle> certificates;
    if (!extractor)
        return certificates;
    const int count = extractor.count();
    const X509StoreHandle distinct(X509_STORE_new());
    for (int index = 0; index < std::min(count, max_anchors); ++index) {
        X509Handle certificate = extract_certificate(extractor, index);
        if (certificate && add_anchor(distinct.get(), certificate.get()))
            certificates.push_back(std::move(certificate));
    }
    log_debug(
        "HttpsXmlClient::setCertificateExtractor(): %d of %d certificates added successfully.",
        static_cast<int>(certificates.size()), count);
    return certificates;
}

/// Where the system's anchors come from, and in which state that was.
struct TrustStore::Source {
    FileStamp file{
        from_environment(X509_get_default_cert_file_env(), X509_get_default_cert_file())};
    FileStamp folder{
        from_environment(X509_get_default_cert_dir_env(), X509_get_default_cert_dir())};

    bool operator==(const Source &) const = default;

    static fs::path from_environment(const char *variable, const char *fallback) {
        const char *value = std::getenv(variable);
        return value != nullptr ? value : fallback;
    }
};

TrustStore::TrustStore(std::vector<X509Handle> own_anchors)
    : own_anchors_(std::move(own_anchors)) {}

TrustStore::~TrustStore() = default;

TrustStore &TrustStore::of_process() {
    static TrustStore store;
    return store;
}

X509StoreHandle TrustStore::current() {
    const Source now;
    const std::lock_guard lock(mutex_);
    if (!store_ || !(*loaded_from_ == now)) {
        X509StoreHandle loaded = load_default_paths();
        for (const auto &anchor : own_anchors_)
            X509_STORE_add_cert(loaded.get(), anchor.get());
        // An anchor of the caller's counts as it is, be it an issuer or the broker's own
        // certificate.
        if (!own_anchors_.empty())
            X509_STORE_set_flags(loaded.get(), X509_V_FLAG_PARTIAL_CHAIN);
        drain_openssl_errors();
        loaded_from_ = std::make_unique<Source>(now);
        store_ = std::move(loaded);
    }
    X509_STORE_up_ref(store_.get());
    return X509StoreHandle(store_.get());
}

} // namespace kavro
