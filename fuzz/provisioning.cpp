#include "answer.h"
#include "broker.h"
#include "kavro/src/session_provisioning.h"
#include "transport/waiter.h"

// A provisioning server over a real connection: whatever it answers, the target is read out of a
// success only, and one code comes of it that a caller can be told.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace kavro;
    fuzz::Broker &server = fuzz::current_broker();
    server.answer_with({std::string(fuzz::as_text(data, size))});

    Waiter waiter;
    cDESKTOP_CONNECTION_RESULT target;
    const auto result = provision_session({"https", "127.0.0.1", server.port(), "", "ticket"},
                                          {"cookie", "", "id", "", "en_US"}, {}, waiter,
                                          std::chrono::seconds(5), "2.1", target);
    fuzz::promise(fuzz::is_reported(result.code), "a code that a caller can be told");
    fuzz::promise(result.code != ERROR_CODE_NONE || !target.connect_tag.empty(),
                  "no success without a target");
    return 0;
}
