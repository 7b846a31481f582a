#include "http_reading.h"

#include <random>

// A response reads the same however its bytes are split on their way, by the rules for brokers and
// by the laxest; and its body is part of it.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using kavro::UnstatedLength;
    constexpr kavro::HttpRules all_rules[] = {
        {}, {.unstated_length = UnstatedLength::to_end_of_stream, .http_1_0 = true}};
    const auto bytes = fuzz::as_text(data, size);
    for (const auto &rules : all_rules) {
        const auto whole = fuzz::read_at_once(bytes, rules);
        fuzz::promise(whole.body.size() <= bytes.size(), "nothing is made up");

        std::minstd_rand random(static_cast<unsigned>(std::hash<std::string_view>()(bytes)));
        for (const unsigned most : {3, 50}) {
            const auto pieces =
                fuzz::read_response(bytes, rules, [&] { return 1 + random() % most; });
            fuzz::promise(pieces == whole, "the same in any pieces");
        }
    }
    return 0;
}
