#pragma once

#include "answer.h"
#include "kavro/src/kavro_broker_client.h"

namespace fuzz {

using Client = cKAVRO_BROKER_CLIENT;
inline constexpr std::chrono::seconds patience{5};

/// Counts how often an operation completes, of whatever kind it is.
struct Completion {
    int &count;

    template <class... Record>
    void operator()(const BrokerResult &result, const Record &...) const {
        ++count;
        promise(is_reported(result.code), "a code that a caller can be told");
    }
};

/// By the byte that chooses one.
inline constexpr void (*operations[])(Client &, Completion) = {
    [](Client &client, Completion done) { client.do_hello({}, done); },
    [](Client &client, Completion done) { client.get_authentication_method(done); },
    [](Client &client, Completion done) { client.authenticate_oauth("code", done); },
    [](Client &client, Completion done) { client.get_resource_list(done); },
    [](Client &client, Completion done) { client.allocate_resource("id", {}, done, patience); },
    [](Client &client, Completion done) {
        client.perform_operation("id", DESKTOP_CMD_SLEEP, done);
    },
    [](Client &client, Completion done) { client.do_logout(done); },
};

inline void run_operation(Client &client, auto start) {
    int completions = 0;
    start(client, Completion{completions});
    client.run_io(true);
    promise(completions == 1, "completes once");
}

} // namespace fuzz
