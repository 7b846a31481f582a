#include "api_arguments.h"
#include "broker.h"
#include "broker_client_impl.h"
#include "kavro/src/kavro_broker_client.h"

#include <string_view>

// Any exports in any order with any arguments, beside a broker that answers anything: nothing but
// the codes that the header states.

namespace {

struct Export {
    std::string_view name;
    kavro_broker_result (*call)(fuzz::Arguments &, bool only_small_numbers);
};

constexpr Export exports[] = {
#define EXPORT(function)                                                                           \
    {#function, [](fuzz::Arguments &a, bool small) { return a.call(function, small); }},
#include "exports.inc"
#undef EXPORT
};

/// A number out of range is a programming error of the caller, or asks for gigabytes.
bool takes_small_numbers(std::string_view name) {
    return name.ends_with("_perform_desktop_operation") || name.ends_with("_create_variable_list");
}

/// Only what needs the broker fails like it.
bool is_documented(std::string_view name, kavro_broker_result result) {
    if (name.starts_with("kavro_broker_set_"))
        return result == 0 || result == 2;
    if (name.starts_with("kavro_broker_get_") && name != "kavro_broker_get_auth_method")
        return result == 0 || result == 2 || result == 3 || result == 7 || result == 8;
    return kavro_broker_result_name(result) != std::string_view("UNKNOWN") && result != 101;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    fuzz::Input input(data, size);
    fuzz::Broker &broker = fuzz::current_broker();
    std::vector<std::string> answers;
    for (int i = 0; i < 3; ++i)
        answers.push_back(input.ConsumeRandomLengthString());
    auto texts = answers;
    texts.insert(texts.end(), {"127.0.0.1", broker.port(), "", "desktop-1"});
    broker.answer_with(answers);

    constexpr std::chrono::seconds patience{3};
    broker_client_impl handle;
    handle.create(KAVRO_BROKER_TYPE_KAVRO,
                  kavro::BrokerClientHandle(new kavro::cKAVRO_BROKER_CLIENT({patience, patience})));
    kavro_broker_set_broker_address(&handle, "127.0.0.1", broker.port().c_str());
    kavro_broker_set_client_info(&handle, "fuzzer", "1.0", "Linux");
    fuzz::Arguments arguments(input, &handle, texts);
    while (input.remaining_bytes() != 0) {
        const Export &next = input.PickValueInArray(exports);
        const auto result = next.call(arguments, takes_small_numbers(next.name));
        fuzz::promise(is_documented(next.name, result), next.name.data());
    }
    return 0;
}
