#pragma once
#include "broker_state.h"
#include "https_server.h"

#include <string_view>

namespace broker_sim {

/// Plays the broker's side of a recording, from its beginning again once it is over.
class Player {
public:
    /// The recording's provisioning server is somewhere else: this one takes its place.
    Player(Replay replay, const Provisioner &provisioner);

    /// What goes wrong before the TLS of a new connection.
    Fault before_tls();
    Service::Reply answer(std::string_view request);

private:
    bool at_end() const { return next_ == replay_.exchanges.size(); }
    bool is_next(std::string_view request) const {
        return !at_end() && replay_.exchanges[next_].request == request;
    }

    Replay replay_;
    std::size_t next_ = 0;
};

} // namespace broker_sim
