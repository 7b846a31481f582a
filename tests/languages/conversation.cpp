// Carries on one conversation in C++: conversation ADDRESS PORT CERTIFICATE < calls > outcomes
#include "kavro_broker.hpp"

#include <nlohmann/json.hpp>

#include <chrono>
#include <fstream>
#include <future>
#include <iostream>
#include <iterator>
#include <map>

using nlohmann::json;

namespace kavro_broker {

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(desktop, name, id, type, state, health, operations)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(dialog_field, name, label, value, read_only, hidden, loggable,
                                   text_type)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(dialog_button, id, label, is_default)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(dialog, prompt_text, error_text, fields, buttons)

void to_json(json &to, const variable &from) {
    to = {from.name, from.value};
}
void from_json(const json &from, variable &to) {
    to = {from[0], from[1]};
}
void to_json(json &to, const broker_info &from) {
    to = {from.product_name, from.product_version, from.platform};
}
void to_json(json &to, const target &from) {
    to = {from.address, from.host_name, from.server_name, from.port};
}
void to_json(json &to, const certificate &from) {
    to = json::array({!from.der.empty(), from.verdict});
}
void to_json(json &to, const desktop_connection &from) {
    to = {{"target", from.target},
          {"session_id", from.session_id},
          {"connect_tag", from.connect_tag},
          {"use_broker_address", from.use_broker_address},
          {"gateway_ticket", nullptr},
          {"agent_variables", from.agent_variables},
          {"alternate_targets", from.alternate_targets}};
    if (const auto &ticket = from.gateway_ticket)
        to["gateway_ticket"] = {ticket->ticket, ticket->creation, ticket->expiry};
}

} // namespace kavro_broker

namespace {

struct Conversation {
    Conversation(std::string broker_address, std::string broker_port, const char *certificate_file)
        : address(std::move(broker_address)), port(std::move(broker_port)) {
        std::ifstream file(certificate_file, std::ios::binary);
        certificate.assign(std::istreambuf_iterator<char>(file), {});
        broker.set_broker_address(address, port);
        broker.set_client_info("languages", "1.0", "test");
    }

    std::string address, port;
    kavro_broker::bytes certificate;
    std::vector<std::size_t> digest_lengths;
    std::vector<std::string> own_lines;
    kavro_broker::broker broker;
};

std::vector<std::string> log_lines;
std::size_t session_ids_told = 0;

json call(Conversation &conversation, const json &words);

json find_type(Conversation &conversation) {
    kavro_broker::type_finder finder;
    const bool before = finder.finished();
    const auto found = finder.find_type_extended(conversation.address, conversation.port);
    return {finder.find_type(conversation.address, conversation.port),
            found.type,
            found.address,
            found.port == conversation.port,
            before,
            finder.finished()};
}

json variable_list(const json &words) {
    const kavro_broker::variable_list copied(
        std::vector<kavro_broker::variable>(words.begin() + 1, words.end()));
    json read = json::array();
    for (std::uint32_t index = 0; index < copied.size(); ++index)
        read.push_back(copied[index]);
    return read;
}

bool has(const std::vector<std::string> &lines, const std::string &text) {
    return std::any_of(lines.begin(), lines.end(), [&](const std::string &line) {
        return line.find(text) != std::string::npos;
    });
}

json cancelled(Conversation &conversation, json words) {
    words.erase(0);
    auto request = std::async(std::launch::async, [&] { return call(conversation, words); });
    while (request.wait_for(std::chrono::milliseconds(10)) != std::future_status::ready)
        conversation.broker.cancel();
    return request.get();
}

using Broker = kavro_broker::broker;
using Words = const json &;
using Call = std::function<json(Conversation &, Words)>;

/// What keeps an argument while it is lent.
template <class Argument>
using held = std::conditional_t<std::is_same_v<Argument, kavro_broker::zstring_view>, std::string,
                                std::decay_t<Argument>>;

template <class... Arguments, class Member, std::size_t... Index>
json invoke(Broker &broker, Member member, Words words, std::index_sequence<Index...>) {
    const auto ask = [&] {
        return (broker.*member)(words.at(Index + 1).get<held<Arguments>>()...);
    };
    if constexpr (std::is_void_v<decltype(ask())>)
        return ask(), json();
    else
        return ask();
}

/// A function of the broker whose arguments follow its name.
template <class Result, class... Arguments>
Call member(Result (Broker::*function)(Arguments...)) {
    return [function](Conversation &c, Words words) {
        return invoke<Arguments...>(c.broker, function, words,
                                    std::index_sequence_for<Arguments...>());
    };
}

template <class Result>
Call member(Result (Broker::*function)() const) {
    return [function](Conversation &c, Words) -> json { return (c.broker.*function)(); };
}

void sign_with_zeros(Conversation &c, std::size_t length) {
    c.broker.use_signing_certificate(c.certificate, [&c, length](const auto &digest) {
        c.digest_lengths.push_back(digest.size());
        return kavro_broker::bytes(length);
    });
}

void sign_by_scheme_with_zeros(Conversation &c, std::size_t length) {
    c.broker.use_signing_key(c.certificate, [&c, length](std::uint16_t scheme, const auto &) {
        c.digest_lengths.push_back(scheme);
        return kavro_broker::bytes(length);
    });
}

const std::map<std::string, Call> calls{
    {"trust", [](auto &c, Words) { return c.broker.add_trust_anchor(c.certificate), json(); }},
    {"sign_with_zeros", [](auto &c, Words w) { return sign_with_zeros(c, w.at(1)), json(); }},
    {"sign_by_scheme_with_zeros",
     [](auto &c, Words w) { return sign_by_scheme_with_zeros(c, w.at(1)), json(); }},
    {"digest_lengths", [](auto &c, Words) { return c.digest_lengths; }},
    {"reported_result",
     [](auto &c, Words) { return json::parse(c.broker.request_report())["result"]["name"]; }},
    {"find_type", [](auto &c, Words) { return find_type(c); }},
    {"variable_list", [](auto &, Words w) { return variable_list(w); }},
    {"set_log_level", [](auto &, Words w) { return kavro_broker::set_log_level(w.at(1)), json(); }},
    {"logged", [](auto &, Words w) { return has(log_lines, w.at(1)); }},
    {"heard", [](auto &c, Words w) { return has(c.own_lines, w.at(1)); }},
    {"listen",
     [](auto &c, Words) {
         c.broker.set_message_function(
             [&c](const auto &message) { c.own_lines.push_back(message.text); });
         return json();
     }},
    {"do_not_listen", [](auto &c, Words) { return c.broker.set_message_function({}), json(); }},
    {"keep_connection",
     [](auto &c, Words w) {
         return c.broker.keep_connection(std::chrono::seconds(w.at(1).get<int>())), json();
     }},
    {"set_time_limit",
     [](auto &c, Words w) {
         return c.broker.set_time_limit(w.at(1), std::chrono::seconds(w.at(2).get<int>())), json();
     }},
    {"session_ids_told", [](auto &, Words) { return session_ids_told; }},
    {"cancelled", [](auto &c, Words w) { return cancelled(c, w); }},
    {"escape_text",
     [](auto &, Words w) {
         const auto longer = w.at(1).get<std::string>() + "...";
         return kavro_broker::escape_text(std::string_view(longer).substr(0, longer.size() - 3));
     }},
    {"result_name", [](auto &, Words w) { return kavro_broker::result_name(w.at(1)); }},

    {"set_broker_address", member(&Broker::set_broker_address)},
    {"set_hello_client_variables", member(&Broker::set_hello_client_variables)},
    {"enable_oauth", member(&Broker::enable_oauth)},
    {"auth_method", member(&Broker::auth_method)},
    {"send_accept_disclaimer", member(&Broker::send_accept_disclaimer)},
    {"send_password", member(&Broker::send_password)},
    {"send_new_password", member(&Broker::send_new_password)},
    {"send_auth_dialog", member(&Broker::send_auth_dialog)},
    {"send_oauth_code", member(&Broker::send_oauth_code)},
    {"send_securid_wait", member(&Broker::send_securid_wait)},
    {"perform_desktop_operation", member(&Broker::perform_desktop_operation)},
    {"clear_session", member(&Broker::clear_session)},
    {"request_desktop_list", member(&Broker::request_desktop_list)},
    {"connect_to_desktop", member(&Broker::connect_to_desktop)},
    {"broker_error_message", member(&Broker::broker_error_message)},
    {"broker_info", member(&Broker::broker_info)},
    {"hello_broker_variables", member(&Broker::hello_broker_variables)},
    {"auth_domains", member(&Broker::auth_domains)},
    {"auth_to_client_variables", member(&Broker::auth_to_client_variables)},
    {"auth_dialog", member(&Broker::auth_dialog)},
    {"disclaimer_text", member(&Broker::disclaimer_text)},
    {"certificates", member(&Broker::certificates)},
    {"certificate_error_text", member(&Broker::certificate_error_text)},
};

json call(Conversation &conversation, const json &words) {
    return calls.at(words.at(0))(conversation, words);
}

} // namespace

int main(int, char **arguments) {
    kavro_broker::set_log_function(
        [](const kavro_broker::log_message &message) { log_lines.push_back(message.text); });
    kavro_broker::set_session_log_id_function([](const std::string &) { ++session_ids_told; });
    Conversation conversation(arguments[1], arguments[2], arguments[3]);
    for (const auto &words : json::parse(std::cin)) {
        json outcome;
        try {
            outcome = call(conversation, words);
        } catch (const kavro_broker::error &error) {
            outcome = {{"error", {error.code(), error.name(), error.broker_text()}}};
        }
        std::cout << outcome << std::endl;
    }
}
