#include "regcode/registration_code.h"

#include "regcode/lookup_table.h"
#include "regcode/table_cache.h"
#include "utils/src/broker_log.h"

#include <algorithm>
#include <mutex>

namespace kavro {

namespace {

class CacheLocation {
public:
    void set(std::string folder) {
        const std::lock_guard lock(mutex_);
        folder_ = std::move(folder);
    }
    std::string get() const {
        const std::lock_guard lock(mutex_);
        return folder_;
    }

private:
    mutable std::mutex mutex_;
    std::string folder_;
};

CacheLocation cache_location;

template <class Step>
void log_failure(const char *sentence, Step step) {
    try {
        step();
    } catch (const std::exception &failure) {
        discovery_log_error("%s %s", sentence, failure.what());
    }
}

} // namespace

std::string convert_registration_code(std::string_view url) noexcept {
    constexpr std::size_t scheme_length = 8; // whatever stands there
    std::string_view code = url.substr(std::min(scheme_length, url.size()));
    code = code.substr(0, code.find('+'));
    try {
        const LookupTable table(read_table_cache(cache_location.get()));
        std::string address = table.find(std::string(code));
        if (!address.empty())
            discovery_log_info("Found AWS broker address=%s", printable(address).c_str());
        return address;
    } catch (...) {
        return {}; // no table is as good as one that does not know the code
    }
}

void set_cache_location(std::string folder) {
    cache_location.set(std::move(folder));
}

void update_lookup_table(const RegistrationService &service) {
    const std::string folder = cache_location.get();
    log_failure("Error updating table", [&] {
        table_cache_file(folder); // without a place for it, a table is not worth waiting for
        const std::string json = AwsRegcodeDownloader(service).download();
        const LookupTable readable(json); // what cannot be read later is not kept
        write_table_cache(folder, json);
    });
    if (!folder.empty())
        log_failure("Error reading cached table",
                    [&] { const LookupTable readable(read_table_cache(folder)); });
}

} // namespace kavro
