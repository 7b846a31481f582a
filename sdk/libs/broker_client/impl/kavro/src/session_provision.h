#pragma once

#include "kavro/src/answer.h"

namespace kavro {

/// The provisioning server, as the broker describes it.
struct Provisioner {
    std::string scheme;
    std::string address;
    std::string port;
    std::string leaf_certificate; ///< PEM or base64 of DER: the one that the server must show
    std::string gateway_ticket;
};

/// Reads a `provision-info`.
Read<> read_provisioner(XmlNode provision_info, Provisioner &provisioner);

/// What the provisioning server is told.
struct SessionProvision {
    std::string_view jsessionid{}; ///< by which the broker knows this client
    std::string_view gateway_ticket{};
    std::string_view request_id{};
    std::string_view time_zone{};
    std::string_view locale{};
};

/// The request as it is sent, head and body.
SecureText session_provision_request(std::string_view address, const SessionProvision &content);

/// The element of a good answer that holds the target, or a sentence that says why there is none.
Expected<XmlNode> read_session_provision(XmlNode root);

} // namespace kavro
