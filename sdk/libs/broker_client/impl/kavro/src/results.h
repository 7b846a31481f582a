#pragma once

#include "kavro/src/error_code.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kavro {

/// Name and value pairs in the order in which they are sent or were received.
using Variables = std::vector<std::pair<std::string, std::string>>;

/// The outcome of every operation of a broker client.
struct BrokerResult {
    eERROR_CODE code = ERROR_CODE_NONE;
    std::string message{};     ///< the broker's words, else those of the failing system call
    std::string detected_by{}; ///< a sentence naming the component that found the error
    std::string detail{};
    std::string_view result_id{}; ///< the answer's, a constant of the protocol; empty without one
};

/// What the broker says of itself.
struct HelloResult {
    std::string product_name;
    std::string product_version;
    std::string platform;
    std::string locale = "en_US";
    std::string ip_address;
    std::string hostname;
    Variables broker_variables;
};

/// One answered field of a dialog.
struct DialogAnswer {
    std::string_view id;
    std::string_view text;
    bool loggable = true;
};

/// Values of cAUTH_RESULT::method, as the public layer converts them.
enum class AuthMethod : std::int32_t {
    unknown = -1,
    none = 0,
    password = 1,
    password_expired = 2,
    securid = 3,
    securid_next_token = 4,
    securid_new_pin = 5,
    securid_wait = 6,
    disclaimer = 7,
    reserved_8 = 8,
    reserved_9 = 9,
    oauth = 10,
    dialog = 11
};

struct DialogField {
    std::string id; ///< what the field is answered by
    std::string label;
    std::string text;
    bool read_only = false;
    bool hidden = false;
    bool loggable = true;
    std::uint32_t text_type = 0;
};

struct DialogButton {
    std::string id;
    std::string label;
    bool is_default = false;
};

/// What the broker asks for next, and what it returned with an authentication answer.
struct cAUTH_RESULT {
    AuthMethod method = AuthMethod::unknown;
    std::vector<std::string> domains;
    std::string disclaimer;
    std::string dialog_prompt;
    std::string dialog_error;
    std::vector<DialogField> dialog_fields;
    std::vector<DialogButton> dialog_buttons;
    Variables to_client_variables;
};

struct AlternateTarget {
    std::string address;
    std::string host_name;
    std::string server_name;
    std::string port;
};

/// The target that an allocated desktop waits at.
struct cDESKTOP_CONNECTION_RESULT {
    std::string target_address;
    std::string host_name;
    std::string server_name;
    std::string port;
    std::string session_id;
    std::string connect_tag;
    bool use_broker_address = false;
    Variables agent_variables;
    std::vector<AlternateTarget> alternate_targets;
    bool has_gateway_ticket = false;
    std::string gateway_ticket;
    std::string gateway_ticket_creation_time;
    std::string gateway_ticket_expiry_time;
};

} // namespace kavro
