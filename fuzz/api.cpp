#include "broker.h"
#include "broker_client_impl.h"
#include "exports.h"
#include "kavro/src/kavro_broker_client.h"

// Any exports in any order with any arguments, beside a broker that answers anything: nothing but
// the codes that the header states.

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
                  kavro::BrokerClientHandle(new kavro::cKAVRO_BROKER_CLIENT));
    handle.limits = {patience, patience, patience};
    kavro_broker_set_broker_address(&handle, "127.0.0.1", broker.port().c_str());
    kavro_broker_set_client_info(&handle, "fuzzer", "1.0", "Linux");
    fuzz::Arguments arguments(input, &handle, texts);
    for (int calls = 0; calls < 16 && input.remaining_bytes() != 0; ++calls) {
        const fuzz::Export &next = input.PickValueInArray(fuzz::exports);
        const auto result = next.call(arguments, fuzz::takes_small_numbers(next.name));
        fuzz::promise(fuzz::is_documented(next.name, result), next.name.data());
    }
    return 0;
}
