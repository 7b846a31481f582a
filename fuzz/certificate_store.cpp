#include "fuzzing.h"
#include "scratch_file.h"
#include "utils/src/cert_store_cache.h"

// The file of remembered certificates: whatever is in it, what is read of it is written as a file
// that reads the same, and is no longer than what came in.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static const fuzz::ScratchFile file("store");
    const auto saved = [] {
        kavro::CertStoreCache cache(file.path());
        cache.load();
        cache.save();
        return file.read();
    };
    constexpr std::size_t empty_file = 4;
    file.write(fuzz::as_text(data, size));
    const auto once = saved();
    fuzz::promise(once.size() <= std::max(size, empty_file), "nothing is made up");
    fuzz::promise(saved() == once, "what was written reads the same");
    return 0;
}
