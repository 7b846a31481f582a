#include "answer.h"
#include "kavro/src/allocate_resource.h"
#include "kavro/src/session_provisioning.h"

// The answer to an allocation: a success brings a target that can be connected to, or a
// provisioning server that is described in full; and the gateway ticket whole or not at all.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace kavro;
    cDESKTOP_CONNECTION_RESULT target;
    bool provisioned = false;
    const auto provision = [&provisioned](XmlNode provision_info) -> BrokerResult {
        Provisioner provisioner;
        const MissingTag missing = read_provisioner(provision_info, provisioner);
        provisioned = missing == nullptr;
        return missing != nullptr ? missing_tag(allocation_handler, missing) : BrokerResult();
    };
    const auto result = fuzz::read_answer(
        fuzz::as_text(data, size), [&](XmlNode message, std::string_view version) {
            return read_allocation(message, version, provision, target);
        });
    fuzz::promise((result.code == ERROR_CODE_NONE) <= (provisioned || !target.connect_tag.empty()),
                  "a target has its tag");
    fuzz::promise(target.has_gateway_ticket ||
                      (target.gateway_ticket + target.gateway_ticket_creation_time +
                       target.gateway_ticket_expiry_time)
                          .empty(),
                  "no piece of a ticket");
    return 0;
}
