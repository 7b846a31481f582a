#include "regcode/registration_code.h"

#include "regcode/lookup_table.h"
#include "regcode/table_cache.h"
#include "utils/src/broker_log.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <mutex>

namespace kavro {

namespace {

/// The cached table, wherever it is, read once for as long as its file stays the same.
class CachedTable {
public:
    void set_folder(std::string folder) {
        const std::lock_guard lock(mutex_);
        folder_ = std::move(folder);
    }
    std::string folder() const {
        const std::lock_guard lock(mutex_);
        return folder_;
    }
    /// @throws std::runtime_error when there is none to be read, and what `checkpoint` throws.
    std::shared_ptr<const LookupTable> current(const Checkpoint &checkpoint = {}) {
        std::string file = read_table_cache(folder());
        if (auto known = known_table(file))
            return known;
        // Two threads may do this at once: neither would hear its checkpoint while it waits.
        auto table = std::make_shared<const LookupTable>(unpacked_table(file), checkpoint);
        const std::lock_guard lock(mutex_);
        file_ = std::move(file);
        return table_ = std::move(table);
    }

private:
    /// The file's bytes are compared: its time does not change with every change.
    std::shared_ptr<const LookupTable> known_table(const std::string &file) const {
        const std::lock_guard lock(mutex_);
        return file == file_ ? table_ : nullptr;
    }

    mutable std::mutex mutex_;
    std::string folder_;
    std::string file_; ///< what `table_` was read from
    std::shared_ptr<const LookupTable> table_;
};

CachedTable cached_table;

/// A text that is no path is no place for a table either, and stays as it is.
std::string absolute_path(std::string folder) {
    try {
        const std::filesystem::path path(std::u8string(folder.begin(), folder.end()));
        const std::u8string absolute = std::filesystem::absolute(path).u8string();
        return {absolute.begin(), absolute.end()};
    } catch (const std::exception &) {
        return folder;
    }
}

template <class Step>
void log_failure(const char *sentence, Step step) {
    try {
        step();
    } catch (const std::exception &failure) {
        discovery_log_error("%s %s", sentence, failure.what());
    }
}

} // namespace

std::string convert_registration_code(std::string_view url, const Checkpoint &checkpoint) {
    constexpr std::size_t scheme_length = 8; // whatever stands there
    std::string_view code = url.substr(std::min(scheme_length, url.size()));
    code = code.substr(0, code.find('+'));
    bool ended = false;
    const auto noted_checkpoint = [&] {
        ended = true;
        if (checkpoint)
            checkpoint();
        ended = false;
    };
    try {
        std::string address = cached_table.current(noted_checkpoint)->find(std::string(code));
        if (!address.empty())
            discovery_log_info("Found AWS broker address=%s", printable(address).c_str());
        return address;
    } catch (...) {
        if (ended)
            throw;
        return {}; // no table is as good as one that does not know the code
    }
}

void set_cache_location(std::string folder) {
    cached_table.set_folder(folder.empty() ? folder : absolute_path(std::move(folder)));
}

void update_lookup_table(const RegistrationService &service) {
    const std::string folder = cached_table.folder();
    log_failure("Error updating table", [&] {
        table_cache_file(folder); // without a place for it, a table is not worth waiting for
        const std::string json = AwsRegcodeDownloader(service).download();
        const LookupTable readable(json); // what cannot be read later is not kept
        write_table_cache(folder, json);
    });
    if (!folder.empty())
        log_failure("Error reading cached table", [] { cached_table.current(); });
}

} // namespace kavro
