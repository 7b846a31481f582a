#include "answer.h"
#include "kavro/src/allocate_resource.h"

// The answer to an allocation: a success brings a target that can be connected to, or a
// provisioning server that is described in full; and the gateway ticket whole or not at all.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace kavro;
    Allocation answer;
    const auto result =
        fuzz::read_answer(allocate_resource_message, fuzz::as_text(data, size), answer);
    const cDESKTOP_CONNECTION_RESULT &target = answer.connection;
    fuzz::promise((result.code == ERROR_CODE_NONE) <=
                      (answer.provisioner.has_value() || !target.connect_tag.empty()),
                  "a target has its tag");
    fuzz::promise(target.has_gateway_ticket ||
                      (target.gateway_ticket + target.gateway_ticket_creation_time +
                       target.gateway_ticket_expiry_time)
                          .empty(),
                  "no piece of a ticket");
    return 0;
}
