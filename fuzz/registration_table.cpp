#include "fuzzing.h"
#include "regcode/lookup_table.h"
#include "regcode/registration_code.h"
#include "regcode/table_cache.h"
#include "scratch_file.h"

#include <stdexcept>

// The table of registration codes: any text is a table or refused in one way, and any code is
// looked up in it. What is found stands in the table.

namespace {

const fuzz::ScratchFile file("conversion_table.dat");

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    fuzz::Input input(data, size);
    const std::string code = input.ConsumeRandomLengthString();
    const std::string json = input.ConsumeRemainingBytesAsString();
    std::string address;
    try {
        address = kavro::LookupTable(json).find(code.substr(0, code.find('+')));
        fuzz::promise(address.size() <= json.size(), "an address out of the table");
    } catch (const std::runtime_error &) {
    }
    kavro::write_table_cache(file.folder(), json);
    kavro::set_cache_location(file.folder());
    fuzz::promise(kavro::convert_registration_code("https://" + code) == address,
                  "a registration code stands for what its table says");
    return 0;
}
