#pragma once

#include "failure.h"
#include "known_brokers.h"
#include "prompts.h"
#include "surroundings.h"

namespace kavro_cli {

/// What becomes of a broker whose certificate's issuer nobody here knows: it is talked to when its
/// key is in the file of known brokers, or when the user accepts it.
class FirstUse {
public:
    explicit FirstUse(const Surroundings &surroundings)
        : surroundings_(surroundings), known_(surroundings.config_folder) {}

    /// From now on the user is asked. Otherwise only the file counts.
    void ask(Prompts &prompts) { prompts_ = &prompts; }

    /// Throws the failure, with what is to be said, unless the broker may be talked to.
    void judge(const KnownBroker &shown, Failure failure);

    /// Writes the broker down if the user wanted that; to be called when it was found to be sound
    /// but for its issuer.
    void keep(const KnownBroker &shown);

private:
    std::vector<KnownBroker> known_at(const KnownBroker &shown) const;

    const Surroundings &surroundings_;
    KnownBrokers known_;
    Prompts *prompts_ = nullptr;
    bool for_good_ = false;
};

} // namespace kavro_cli
