#include "broker.h"

#include <algorithm>
#include <random>

namespace broker_sim {
namespace {

enum class SessionUse { begins, needs, ends };

struct MessageRow {
    std::string_view kind;
    SessionUse session;
    Handler handler;
    std::string_view server = server_name::broker;
};

void bye(BrokerState &, Session &, const Message &, XmlWriter &xml) {
    write_result(xml, "BYE_SUCCESSFUL");
}

constexpr MessageRow messages[] = {
    {"hello", SessionUse::begins, hello},
    {"authenticate", SessionUse::needs, authenticate},
    {"update-password", SessionUse::needs, update_password},
    {"get-resource-list", SessionUse::needs, get_resource_list},
    {"allocate-resource", SessionUse::needs, allocate_resource},
    {"perform-operation", SessionUse::needs, perform_operation},
    {"bye", SessionUse::ends, bye},
    {"session-provision", SessionUse::needs, session_provision, server_name::provisioning},
};

const MessageRow *find_message(std::string_view kind) {
    const auto row = std::ranges::find(messages, kind, &MessageRow::kind);
    return row == std::end(messages) ? nullptr : row;
}

using Sessions = std::map<std::string, Session>;

Sessions::iterator find_session(Sessions &sessions, const std::optional<std::string> &id) {
    if (!id)
        throw ProtocolError{"ERR_MISSING_SESSION", "The request carries no session"};
    const auto session = sessions.find(*id);
    if (session == sessions.end())
        throw ProtocolError{"ERR_INVALID_SESSION", "The session is unknown or over"};
    return session;
}

/// A hello always begins anew: what the client's old session knew is forgotten.
Sessions::iterator begin_session(Sessions &sessions, const std::optional<std::string> &old_id) {
    if (old_id)
        sessions.erase(*old_id);
    return sessions.emplace(random_id(), Session{}).first;
}

} // namespace

bool is_message_kind(std::string_view kind) {
    return find_message(kind) != nullptr;
}

std::string random_id() {
    static constexpr char digits[] = "0123456789ABCDEF";
    std::random_device random;
    std::string id;
    while (id.size() < 32)
        id += digits[random() % 16];
    return id;
}

BrokerState::BrokerState(Scenario played) : scenario(std::move(played)) {
    desktops.reserve(scenario.desktops.size());
    desktop_positions.reserve(scenario.desktops.size());
    for (const Desktop &desktop : scenario.desktops) {
        desktop_positions.emplace(desktop.id, desktops.size());
        desktops.push_back({&desktop, desktop.state});
    }
}

DesktopState *BrokerState::find_desktop(std::string_view id) {
    const auto position = desktop_positions.find(id);
    return position == desktop_positions.end() ? nullptr : &desktops[position->second];
}

std::string Broker::refusal(const ProtocolError &error) const {
    return error_document(state_.scenario.broker.version, error);
}

void Broker::end_abandoned_sessions() {
    const auto idle = state_.scenario.session_idle;
    if (!idle.count())
        return;
    const auto latest = std::chrono::steady_clock::now() - idle;
    std::erase_if(state_.sessions, [=](const auto &entry) { return entry.second.used <= latest; });
}

BrokerAnswer Broker::answer(const Message &message, const std::optional<std::string> &session_id,
                            std::string_view server) {
    end_abandoned_sessions();
    try {
        const MessageRow *const row = find_message(message.kind);
        if (!row || row->server != server)
            throw ProtocolError{"ERR_UNSUPPORTED_REQUEST", "The request is unknown", message.kind};
        const bool begins = row->session == SessionUse::begins;
        const auto session = begins ? begin_session(state_.sessions, session_id)
                                    : find_session(state_.sessions, session_id);
        session->second.used = std::chrono::steady_clock::now();
        BrokerAnswer answer;
        answer.body = answer_document(
            state_.scenario.broker.version, message.kind + "-resp",
            [&](XmlWriter &xml) { row->handler(state_, session->second, message, xml); });
        if (begins)
            answer.set_cookie = state_.scenario.session_cookie + "=" + session->first +
                                "; Path=/; Secure; HttpOnly";
        if (row->session == SessionUse::ends)
            state_.sessions.erase(session);
        return answer;
    } catch (const ProtocolError &error) {
        return {refusal(error)};
    }
}

} // namespace broker_sim
