#include "transport/trust_store.h"

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

struct TrustSource {
    FileStamp file{
        from_environment(X509_get_default_cert_file_env(), X509_get_default_cert_file())};
    FileStamp folder{
        from_environment(X509_get_default_cert_dir_env(), X509_get_default_cert_dir())};

    bool operator==(const TrustSource &) const = default;

    static fs::path from_environment(const char *variable, const char *fallback) {
        const char *value = std::getenv(variable);
        return value != nullptr ? value : fallback;
    }
};

X509StoreHandle load_default_paths() {
    drain_openssl_errors();
    X509StoreHandle store(X509_STORE_new());
    if (!store || X509_STORE_set_default_paths(store.get()) != 1)
        throw_openssl_error("set_default_verify_paths");
    drain_openssl_errors(); // a missing bundle is reported there, but is no failure
    return store;
}

} // namespace

X509StoreHandle system_trust_store() {
    static std::mutex mutex;
    static X509StoreHandle store;
    static TrustSource loaded_from;

    const TrustSource now;
    const std::lock_guard lock(mutex);
    if (!store || !(loaded_from == now)) {
        store = load_default_paths();
        loaded_from = now;
    }
    X509_STORE_up_ref(store.get());
    return X509StoreHandle(store.get());
}

} // namespace kavro
