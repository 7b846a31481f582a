#pragma once

#include "kavro/src/auth_method.h"
#include "kavro/src/ibroker_client.h"
#include "xml/xml_document.h"

#include <span>
#include <string_view>

namespace kavro {

/// The five ways to answer an authentication demand; each has its own result ids.
enum class AuthRequest { password, dialog, oauth, disclaimer, password_update };

SecureText password_request(std::string_view protocol_version, std::string_view user_name,
                            std::string_view password, std::string_view domain);
SecureText dialog_request(std::string_view protocol_version, std::span<const DialogAnswer> fields,
                          std::string_view button_id);
SecureText oauth_request(std::string_view protocol_version, std::string_view code);
SecureText disclaimer_request(std::string_view protocol_version, bool accept);
SecureText password_update_request(std::string_view protocol_version, std::string_view user_name,
                                   std::string_view old_password, std::string_view new_password,
                                   std::string_view domain);

BrokerResult read_authentication(AuthRequest request, XmlNode message, bool oauth_enabled,
                                 AuthAnswer &answer);

/// The result id, if it is one of the answers' own.
std::string_view known_authentication_id(std::string_view id);

} // namespace kavro
