#include "broker.h"
#include "operations.h"

// Every operation of the protocol client, over a real connection: whatever the broker answers, it
// completes once, with a code that a caller can be told.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    fuzz::Input input(data, size);
    const auto first = input.PickValueInArray(fuzz::operations);
    const auto second = input.PickValueInArray(fuzz::operations);
    fuzz::Broker &broker = fuzz::current_broker();
    broker.answer_with({input.ConsumeRemainingBytesAsString()});

    const kavro::ConnectionRequest request = {.address = broker.address(),
                                              .product_name = "fuzzer",
                                              .product_version = "1.0",
                                              .platform = "Linux",
                                              .locale = "en_US",
                                              .time_zone = "UTC",
                                              .limits = {.connect = fuzz::patience,
                                                         .request = fuzz::patience,
                                                         .authentication = fuzz::patience}};
    fuzz::Client client;
    fuzz::run_operation(client, [&request](fuzz::Client &connecting, fuzz::Completion done) {
        connecting.connect_to_broker(request, done);
    });
    fuzz::run_operation(client, first);
    fuzz::run_operation(client, second);
    return 0;
}
