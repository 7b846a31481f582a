#pragma once

#include "kavro/src/ibroker_client.h"

#include <memory>

namespace kavro {

/// Makes and destroys broker clients of either kind.
class cBROKER_FACTORY {
public:
    enum Variant { own_protocol = 0, view = 1 };

    /// Null when there is no client of that kind. The first call of the process looks for the
    /// plug-in; what it finds then holds until the process ends.
    static iBROKER_CLIENT *create(int variant);
    /// Destroys the client the way its kind asks for; one of an unknown kind is a programming
    /// error.
    static void destroy(iBROKER_CLIENT *client);
};

struct DestroyByFactory {
    void operator()(iBROKER_CLIENT *client) const { cBROKER_FACTORY::destroy(client); }
};
using BrokerClientHandle = std::unique_ptr<iBROKER_CLIENT, DestroyByFactory>;

} // namespace kavro
