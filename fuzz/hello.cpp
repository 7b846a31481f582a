#include "kavro/src/hello.h"
#include "answer.h"

// The greeting's answer: nothing of a broker is kept that did not introduce itself in full.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    for (const bool oauth : {false, true}) {
        kavro::HelloAnswer answer;
        const auto result =
            fuzz::read_answer(kavro::hello_message, fuzz::as_text(data, size), answer, oauth);
        fuzz::check_next_method(result, answer.auth, oauth);
        if (result.code == kavro::ERROR_CODE_PROTOCOL_MANGLED_RESPONSE)
            fuzz::promise(answer.hello.product_name.empty() &&
                              answer.hello.broker_variables.empty(),
                          "a greeting that is not understood leaves nothing");
    }
    return 0;
}
