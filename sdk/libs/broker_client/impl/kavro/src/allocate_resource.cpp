#include "kavro/src/allocate_resource.h"

#include "utils/src/broker_log.h"

namespace kavro {

namespace {

constexpr const char *source_path = "sdk/libs/broker_client/impl/kavro/src/kavro_broker_client";
constexpr const char *reader = "Desktop connection handler";
constexpr std::string_view alternates_since_version = "2.1";
constexpr const char *no_license_sentence =
    "Kavro Agent has no available licenses to launch the remote session.\n\n";

constexpr ResultRow rows[] = {
    {"ALLOC_SUCCESSFUL", ERROR_CODE_NONE},
    {"ALLOC_PENDING_TRY_AGAIN", ALLOC_PENDING_TRY_AGAIN},
    {"ALLOC_FAILED_INVALID_PARAMETER", ERROR_CODE_CONNECT_DESKTOP_INVALID_PARAMETER},
    {"ALLOC_FAILED_NO_USER", ERROR_CODE_INVALID_STATE},
    {"ALLOC_FAILED_NO_LICENSE", ERROR_CODE_CONNECT_DESKTOP_NO_LICENSE},
    {"ALLOC_FAILED_TO_ALLOCATE_BROKER", ERROR_CODE_CONNECT_DESKTOP_LAUNCH_FAILED},
    {"ALLOC_FAILED_TO_ALLOCATE_AGENT", ERROR_CODE_CONNECT_DESKTOP_LAUNCH_FAILED},
};

constexpr TextField<cDESKTOP_CONNECTION_RESULT> target_fields[] = {
    {"ip-address", &cDESKTOP_CONNECTION_RESULT::target_address},
    {"hostname", &cDESKTOP_CONNECTION_RESULT::host_name},
    {"sni", &cDESKTOP_CONNECTION_RESULT::server_name, false},
    {"port", &cDESKTOP_CONNECTION_RESULT::port},
    {"session-id", &cDESKTOP_CONNECTION_RESULT::session_id},
    {"connect-tag", &cDESKTOP_CONNECTION_RESULT::connect_tag},
};

constexpr TextField<AlternateTarget> alternate_fields[] = {
    {"ip-address", &AlternateTarget::address, false},
    {"hostname", &AlternateTarget::host_name, false},
    {"sni", &AlternateTarget::server_name, false},
    {"port", &AlternateTarget::port, false},
};

constexpr TextField<cDESKTOP_CONNECTION_RESULT> ticket_fields[] = {
    {"gateway-ticket", &cDESKTOP_CONNECTION_RESULT::gateway_ticket},
    {"gt-creation-time", &cDESKTOP_CONNECTION_RESULT::gateway_ticket_creation_time},
    {"gt-expiry-time", &cDESKTOP_CONNECTION_RESULT::gateway_ticket_expiry_time},
};

void read_alternates(XmlNode message, cDESKTOP_CONNECTION_RESULT &connection) {
    const XmlNode alternates = message.child("alternate-targets");
    if (!alternates)
        return;
    for_each_child(alternates, "alternate-target", [&connection](XmlNode element) {
        AlternateTarget &target = connection.alternate_targets.emplace_back();
        read_fields(element, alternate_fields, target);
        log_info("Handling <allocate-resource-resp>: Alternate Target ip-addr = %s",
                 printable(target.address).c_str());
    });
}

/// All three texts or none.
void read_gateway_ticket(XmlNode message, cDESKTOP_CONNECTION_RESULT &connection) {
    const XmlNode info = message.child("gateway-ticket-info");
    if (!info)
        return;
    cDESKTOP_CONNECTION_RESULT ticket;
    if (!read_fields(info, ticket_fields, ticket))
        return;
    for (const auto &field : ticket_fields)
        connection.*field.member = std::move(ticket.*field.member);
    connection.has_gateway_ticket = true;
    log_info("Handling <allocate-resource-resp>: Gateway Ticket = %s",
             printable(connection.gateway_ticket).c_str());
}

void write(RequestText &request, const ClientIdentity &identity, std::string_view resource_id,
           const Variables &agent_variables) {
    request.element("resource-id", resource_id).element("protocol", "KAVRO").open("client-info");
    if (!identity.time_zone.empty())
        request.element("time-zone-windows", identity.time_zone);
    request.element("ip-address", identity.local_address)
        .element("mac-address", identity.mac_address)
        .variables("client-to-agent-variables", agent_variables)
        .close("client-info");
}

BrokerResult read_success(const Answer &answer, Allocation &record) {
    log_info("Handling <allocate-resource-resp>: result-id = ALLOC_SUCCESS");
    const XmlNode provision_info = answer.message.child("provision-info");
    if (!provision_info)
        return read_target(answer.message, answer.dialect.version, record.connection);
    if (const auto read = read_provisioner(provision_info, record.provisioner.emplace()); !read)
        return missing_tag(reader, read.error());
    return {};
}

BrokerResult read(Answer &answer, Allocation &record) {
    BrokerResult result = read_outcome(answer);
    if (result.code == ERROR_CODE_NONE)
        return read_success(answer, record);
    if (result.code == ERROR_CODE_CONNECT_DESKTOP_NO_LICENSE)
        result.message.insert(0, no_license_sentence);
    return result;
}

} // namespace

const Message<Allocation, const ClientIdentity &, std::string_view, const Variables &>
    allocate_resource_message = {
        .element = "allocate-resource",
        .write = write,
        .read = read,
        .answer = {.arrival = "Handling <allocate-resource-resp> message ...",
                   .reader = reader,
                   .result_reader = "Desktop connect handler",
                   .rows = rows},
        .completion = "cKAVRO_BROKER_CLIENT::handle_allocate_resource_resp",
};

BrokerResult read_target(XmlNode message, std::string_view protocol_version,
                         cDESKTOP_CONNECTION_RESULT &connection) {
    const auto target = find(message, {"target"});
    if (!target)
        return missing_tag(reader, target.error());
    if (const auto texts = read_fields(*target, target_fields, connection); !texts)
        return missing_tag(reader, texts.error());
    if (connection.connect_tag.empty()) {
        log_error("%s:%d Broker's connect-tag string is empty", source_path, __LINE__);
        return {ERROR_CODE_PROTOCOL_MANGLED_RESPONSE};
    }
    connection.use_broker_address =
        static_cast<bool>(target->child("use-broker-address-as-target"));
    auto variables = read_variables(target->child("agent-to-client-variables"));
    if (!variables)
        return missing_tag(reader, variables.error());
    connection.agent_variables = std::move(*variables);
    log_info("Handling <allocate-resource-resp>: Target ip-addr=%s port=%s session-id=%s",
             printable(connection.target_address).c_str(), printable(connection.port).c_str(),
             printable(connection.session_id).c_str());
    if (version_at_least(protocol_version, alternates_since_version)) {
        read_alternates(message, connection);
        read_gateway_ticket(message, connection);
    }
    return {};
}

} // namespace kavro
