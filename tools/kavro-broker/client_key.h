#pragma once

#include "interruption.h"
#include "options.h"
#include "prompts.h"

#include <kavro_broker_records.hpp>

#include <cstdint>
#include <memory>
#include <vector>

namespace kavro_cli {

/// A certificate with a private key that stays where it is: on a token, in the system's keeping.
class ClientKey {
public:
    virtual ~ClientKey() = default;

    /// In DER form, the client's own first, then those of its issuers that are at hand.
    virtual const std::vector<kavro_broker::bytes> &certificates() const = 0;

    /// Whether RSA signatures by PSS can be had, without which there is no TLS 1.3.
    virtual bool knows_pss() const = 0;

    /// The signature of a digest by a TLS SignatureScheme (RFC 8446 section 4.2.3); that of ECDSA
    /// is r and s, one behind the other. Throws what is wrong.
    virtual kavro_broker::bytes sign(std::uint16_t scheme, const kavro_broker::bytes &digest) = 0;
};

/// How the option is shown that names a key here.
struct ClientKeyForm {
    const char *value, *description;
};
extern const ClientKeyForm client_key_form;

/// Finds the key that the options name, and unlocks it. `prompts_or_null` asks for the PIN when no
/// option tells where it is. Throws a Failure.
std::unique_ptr<ClientKey> open_client_key(const ClientCertificateOptions &options,
                                           Prompts *prompts_or_null,
                                           const Interruption &interruption);

} // namespace kavro_cli
