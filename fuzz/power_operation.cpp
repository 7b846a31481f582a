#include "kavro/src/power_operation.h"
#include "answer.h"

// The answer to a power operation: a success needs no words.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    kavro::Nothing nothing;
    const auto result =
        fuzz::read_answer(kavro::power_operation_message, fuzz::as_text(data, size), nothing);
    fuzz::promise(result.code != kavro::ERROR_CODE_NONE || result.message.empty(),
                  "no words with a success");
    return 0;
}
