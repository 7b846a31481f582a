#include "answer.h"
#include "broker.h"
#include "kavro/src/kavro_broker_client.h"

// Every operation of the protocol client, over a real connection: whatever the broker answers, it
// completes once, with a code that a caller can be told.

namespace {

using Client = kavro::cKAVRO_BROKER_CLIENT;

struct Completion {
    int &count;

    template <class... Record>
    void operator()(const kavro::BrokerResult &result, const Record &...) const {
        ++count;
        fuzz::promise(fuzz::is_reported(result.code), "a code that a caller can be told");
    }
};

constexpr std::chrono::seconds patience{5};

constexpr void (*operations[])(Client &, Completion) = {
    [](Client &client, Completion done) { client.do_hello({}, done); },
    [](Client &client, Completion done) { client.get_authentication_method(done); },
    [](Client &client, Completion done) { client.authenticate_oauth("code", done); },
    [](Client &client, Completion done) { client.get_resource_list(done); },
    [](Client &client, Completion done) { client.allocate_resource("id", {}, done, patience); },
    [](Client &client, Completion done) {
        client.perform_operation("id", kavro::DESKTOP_CMD_SLEEP, done);
    },
    [](Client &client, Completion done) { client.do_logout(done); },
};

void run(Client &client, auto start) {
    int completions = 0;
    start(client, Completion{completions});
    client.run_io(true);
    fuzz::promise(completions == 1, "completes once");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    fuzz::Input input(data, size);
    const auto first = input.PickValueInArray(operations);
    const auto second = input.PickValueInArray(operations);
    fuzz::Broker &broker = fuzz::current_broker();
    broker.answer_with({input.ConsumeRemainingBytesAsString()});

    Client client({patience, patience});
    run(client, [&](Client &connecting, Completion done) {
        const kavro::ConnectionRequest request = {.address = broker.address(),
                                                  .product_name = "fuzzer",
                                                  .product_version = "1.0",
                                                  .platform = "Linux",
                                                  .locale = "en_US",
                                                  .time_zone = "UTC"};
        connecting.connect_to_broker(request, done);
    });
    run(client, first);
    run(client, second);
    return 0;
}
