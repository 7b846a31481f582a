#include "proxy_answers.h"

// Whatever an HTTP proxy answers to CONNECT: the dialogue ends, the same in any pieces, and no
// secret is said before it was asked for.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    fuzz::compare_pieces(fuzz::as_text(data, size), [] {
        return kavro::http_dialogue(fuzz::proxy("http://proxy.test:3128"), {"broker.test", "443"},
                                    fuzz::echoing_tickets);
    });
    return 0;
}
