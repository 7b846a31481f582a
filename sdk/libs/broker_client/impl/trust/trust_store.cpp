#include "trust/trust_store.h"

#include "trust/anchor_bundle.h"
#include "utils/src/broker_log.h"
#include "utils/src/openssl_handles.h"

#include <openssl/x509v3.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <sstream>
#include <string>

namespace kavro {

namespace {

namespace fs = std::filesystem;

/// Tells one state of a file or folder from another without reading it.
struct Stamp {
    fs::path path;
    fs::file_time_type changed{};

    explicit Stamp(fs::path place) : path(std::move(place)) {
        std::error_code missing; // then it is a time that no file has
        changed = fs::last_write_time(path, missing);
    }
    bool operator==(const Stamp &) const = default;
};

/// A file may be written twice in what the clock takes for one moment.
struct FileStamp : Stamp {
    std::uintmax_t size = 0;

    explicit FileStamp(fs::path file) : Stamp(std::move(file)) {
        std::error_code missing;
        size = fs::file_size(path, missing);
    }
    bool operator==(const FileStamp &) const = default;
};

fs::path from_environment(const char *variable, const char *fallback) {
    // As in OpenSSL, a user who starts a program with more rights than his own does not set its
    // trust.
    const char *value = OPENSSL_issetugid() == 0 ? std::getenv(variable) : nullptr;
    return value != nullptr ? value : fallback;
}

/// OpenSSL asks for no more anchors of a name once the store has one.
void add_namesakes(X509_STORE *store, const AnchorBundle &bundle, const TrustAnchors &anchors) {
    for (const auto *kind : {&anchors.own, &anchors.of_system})
        for (const auto &anchor : *kind)
            for (const auto &same : bundle.find(X509_get_subject_name(anchor.get())))
                X509_STORE_add_cert(store, same.get());
}

/// OpenSSL looks for an anchor in a file of all of them first, then in a folder of one file each by
/// the name's hash. It would build all of the file's at once; anything but a plain list of
/// certificates is left to it.
X509StoreHandle load_default_paths(const fs::path &file, const TrustAnchors &anchors) {
    drain_openssl_errors();
    X509StoreHandle store(X509_STORE_new());
    auto bundle = AnchorBundle::read(file.string());
    bool loaded = store != nullptr;
    if (loaded && bundle) {
        add_namesakes(store.get(), *bundle, anchors);
        add_bundle(store.get(), std::move(*bundle));
        X509_LOOKUP *const folder = X509_STORE_add_lookup(store.get(), X509_LOOKUP_hash_dir());
        loaded =
            folder != nullptr && X509_LOOKUP_add_dir(folder, nullptr, X509_FILETYPE_DEFAULT) == 1;
    } else {
        loaded = loaded && X509_STORE_set_default_paths(store.get()) == 1;
    }
    if (!loaded)
        throw_openssl_error("set_default_verify_paths");
    drain_openssl_errors(); // a missing bundle is reported there, but is no failure
    return store;
}

bool has_authority(const fs::path &file) {
    const X509StoreHandle store(X509_STORE_new());
    const bool loaded = store && X509_STORE_load_file(store.get(), file.string().c_str()) == 1;
    drain_openssl_errors();
    return loaded;
}

/// A folder has a file for each, called by the hash of its name, as "5ed36f99.0".
bool has_file_of_authority(const fs::path &folder) {
    constexpr std::size_t hash_digits = 8;
    std::error_code missing;
    return std::ranges::any_of(fs::directory_iterator(folder, missing), [](const auto &entry) {
        return entry.path().stem().native().size() == hash_digits && entry.path().has_extension();
    });
}

/// Of a list of folders, as OpenSSL takes it.
bool has_authority_below(const std::string &folders) {
    constexpr char separator = fs::path::preferred_separator == '/' ? ':' : ';';
    std::istringstream list(folders);
    for (std::string folder; std::getline(list, folder, separator);)
        if (has_file_of_authority(folder))
            return true;
    return false;
}

/// Upper limits against a broken extractor.
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

void add_anchors(X509_STORE *store, const TrustAnchors &anchors) {
    // With the flag that lets a caller's anchor count as it is, every certificate in the store
    // does.
    if (!anchors.own.empty())
        X509_STORE_set_flags(store, X509_V_FLAG_PARTIAL_CHAIN);
    for (const auto &anchor : anchors.own)
        X509_STORE_add_cert(store, anchor.get());
    for (const auto &anchor : anchors.of_system) {
        const bool is_root = X509_check_issued(anchor.get(), anchor.get()) == X509_V_OK;
        if (anchors.own.empty() || is_root)
            X509_STORE_add_cert(store, anchor.get());
    }
}

} // namespace

TrustAnchors extract_certificates(const CertificateExtractor &extractor) {
    TrustAnchors anchors;
    if (!extractor)
        return anchors;
    const int count = extractor.count();
    const X509StoreHandle distinct(X509_STORE_new());
    for (int index = 0; index < std::min(count, max_anchors); ++index) {
        X509Handle certificate = extract_certificate(extractor, index);
        auto &kind = index < extractor.of_system ? anchors.of_system : anchors.own;
        if (certificate && add_anchor(distinct.get(), certificate.get()))
            kind.push_back(std::move(certificate));
    }
    log_debug(
        "HttpsXmlClient::setCertificateExtractor(): %d of %d certificates added successfully.",
        static_cast<int>(anchors.of_system.size() + anchors.own.size()), count);
    return anchors;
}

/// Where the system's anchors come from, and in which state that was.
struct TrustStore::Source {
    FileStamp file{
        from_environment(X509_get_default_cert_file_env(), X509_get_default_cert_file())};
    Stamp folder{from_environment(X509_get_default_cert_dir_env(), X509_get_default_cert_dir())};

    bool operator==(const Source &) const = default;
};

std::string TrustStore::places_without_authorities() const {
    const Source now;
    const std::string file = now.file.path.string(), folder = now.folder.path.string();
    if (!anchors_.own.empty() || !anchors_.of_system.empty() || has_authority(file) ||
        has_authority_below(folder))
        return {};
    const auto place = [](const char *kind, const std::string &path, const char *variable) {
        return std::string(kind) + (path.empty() ? "\"\"" : path) + " (" + variable + ")";
    };
    return place("file ", file, X509_get_default_cert_file_env()) + ", " +
           place("folder ", folder, X509_get_default_cert_dir_env());
}

TrustStore::TrustStore(TrustAnchors anchors) : anchors_(std::move(anchors)) {}

TrustStore::~TrustStore() = default;

TrustStore &TrustStore::of_process() {
    static TrustStore store;
    return store;
}

X509StoreHandle TrustStore::current() {
    const Source now;
    const std::lock_guard lock(mutex_);
    if (!store_ || !(*loaded_from_ == now)) {
        X509StoreHandle loaded = load_default_paths(now.file.path, anchors_);
        add_anchors(loaded.get(), anchors_);
        drain_openssl_errors();
        loaded_from_ = std::make_unique<Source>(now);
        store_ = std::move(loaded);
    }
    X509_STORE_up_ref(store_.get());
    return X509StoreHandle(store_.get());
}

} // namespace kavro
