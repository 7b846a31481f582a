#include "regcode/table_cache.h"
#include "fuzzing.h"
#include "regcode/lookup_table.h"
#include "scratch_file.h"

#include <optional>
#include <stdexcept>

// The cached table of registration codes: a file is read as a text within the limit or refused, and
// any text that was written is read.

namespace {

const fuzz::ScratchFile file("conversion_table.dat");

std::optional<std::string> cached() {
    try {
        return kavro::unpacked_table(kavro::read_table_cache(file.folder()));
    } catch (const std::runtime_error &) {
        return std::nullopt;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string bytes(fuzz::as_text(data, size));
    file.write(bytes);
    const auto read = cached();
    fuzz::promise(read.value_or("").size() <= kavro::LookupTable::max_bytes, "within the limit");
    for (const auto &text : {bytes, read.value_or("{}")}) {
        kavro::write_table_cache(file.folder(), text);
        fuzz::promise(cached() == text, "what was written is read");
    }
    return 0;
}
