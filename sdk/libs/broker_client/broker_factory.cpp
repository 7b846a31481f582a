#include "broker_factory.h"

#include "kavro/src/kavro_broker_client.h"
#include "kavro_broker.h"
#include "utils/src/assertion.h"

namespace kavro {

iBROKER_CLIENT *cBROKER_FACTORY::create(int variant) {
    return variant == own_protocol ? new cKAVRO_BROKER_CLIENT : nullptr;
}

void cBROKER_FACTORY::destroy(iBROKER_CLIENT *client) {
    const std::uint32_t kind = client->get_variant();
    broker_assert(kind == KAVRO_BROKER_TYPE_KAVRO || kind == KAVRO_BROKER_TYPE_DIRECT_HOST,
                  "cBROKER_FACTORY::destroy");
    delete client;
}

} // namespace kavro
