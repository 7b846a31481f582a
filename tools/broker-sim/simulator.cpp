#include "broker_sim.h"
#include "https_server.h"
#include "masked_request.h"
#include "pages.h"
#include "player.h"
#include "proxy_log_in.h"
#include "rule_list.h"
#include "server_tls.h"
#include "status_board.h"
#include "table_cache.h"

#include <algorithm>
#include <condition_variable>
#include <fstream>
#include <mutex>
#include <stdexcept>

namespace broker_sim {
namespace {

bool replaces_the_answer(const Override &scripted) {
    return scripted.raw || scripted.body || !scripted.result_id.empty() ||
           !scripted.error_id.empty();
}

std::string scripted_body(const Override &scripted, const std::string &kind,
                          std::string_view version) {
    if (scripted.body)
        return *scripted.body;
    if (!scripted.result_id.empty())
        return answer_document(version, kind + "-resp", [&](XmlWriter &xml) {
            write_result(xml, scripted.result_id, scripted.result_str);
        });
    return error_document(version, {scripted.error_id, scripted.result_str, scripted.err_detail},
                          scripted.detected_by);
}

/// An address as a URL has it.
std::string url_of(const boost::asio::ip::tcp::endpoint &endpoint) {
    std::ostringstream url;
    url << "https://" << endpoint;
    return url.str();
}

void write_file(const std::filesystem::path &path, std::string_view content) {
    std::ofstream file(path, std::ios::binary);
    if (!(file << content << std::flush))
        throw std::runtime_error("cannot write " + path.string());
}

std::string replaced(std::string text, std::string_view mark, const std::string &by) {
    for (std::size_t at = text.find(mark); at != text.npos; at = text.find(mark, at + by.size()))
        text.replace(at, mark.size(), by);
    return text;
}

} // namespace

/// What the servers' threads and the callers share, under one lock.
class Simulator::Impl {
public:
    explicit Impl(Scenario scenario)
        : broker(std::move(scenario)),
          faults(broker.scenario().faults),
          overrides(broker.scenario().overrides) {
        open_servers();
        tell_where_they_are();
        if (auto &replay = broker.state().scenario.replay)
            player.emplace(std::move(*replay), broker.state().provisioner);
        for (auto &[name, desk] : desks)
            desk.server.start();
        for (auto &[name, desk] : desks)
            desk.server.mind_the_door();
    }

    /// One of the servers: it counts, records and spoils what goes over its connections.
    struct Desk final : Service {
        Desk(Impl &shared, std::string_view server_name, const Listener &listener)
            : impl(shared),
              name(server_name),
              identity(server_identity(listener.tls, impl.broker.scenario().address)),
              server(impl.broker.scenario().address, listener, server_tls(listener.tls, identity),
                     impl.proxy_of(name), *this) {}

        Door door() override {
            const std::lock_guard lock(impl.mutex);
            const Ending ending = impl.fault_at(Stage::accept, {name, connections + 1}).ending;
            return ending == Ending::none    ? Door::open
                   : ending == Ending::stall ? Door::mute
                                             : Door::closed;
        }

        Connection accept() override {
            const std::lock_guard lock(impl.mutex);
            ++connections;
            impl.changed.notify_all();
            const Event event{name, connections};
            if (impl.board)
                impl.board->connected(event);
            const Fault fault = impl.player && name == server_name::broker
                                    ? impl.player->before_tls()
                                    : impl.fault_at(Stage::handshake, event);
            if (impl.board && fault.stage == Stage::handshake)
                impl.board->add(event, "", fault);
            return {connections, fault};
        }

        Reply answer(unsigned connection, const HttpRequest &request) override {
            const std::lock_guard lock(impl.mutex);
            const Visit visit = receive(name, request);
            impl.requests.push_back(
                {connection, visit.kind, request.head, request.body, std::string(name)});
            impl.changed.notify_all();
            const Event event{name, connection, visit.kind};
            Reply reply =
                impl.player ? impl.player->answer(visit.kind)
                : name == server_name::direct_host
                    ? Reply{.fault = {.ending = Ending::stall}}
                    : Reply{impl.answer_to(visit, event), impl.fault_at(Stage::response, event)};
            if (name == server_name::proxy)
                impl.let_through(request, reply);
            if (impl.board)
                reply.number = impl.board->add(event, result_of(reply.answer, reply.fault),
                                               reply.fault, masked_request(request.body));
            return reply;
        }

        void sent(std::uint64_t number) override {
            const std::lock_guard lock(impl.mutex);
            if (impl.board)
                impl.board->sent(number);
        }

        void ended(unsigned connection) override {
            const std::lock_guard lock(impl.mutex);
            if (impl.board)
                impl.board->ended({name, connection});
        }

        Impl &impl;
        std::string_view name;
        Identity identity;
        unsigned connections = 0;
        HttpsServer server; ///< the last, because its thread uses all of the above
    };

    mutable std::mutex mutex;
    mutable std::condition_variable changed;
    Broker broker;
    RuleList<Fault> faults;
    RuleList<Override> overrides;
    std::optional<Player> player; ///< in the broker's place
    std::vector<RecordedRequest> requests;
    std::optional<StatusBoard> board;       ///< once somebody watches
    std::map<std::string_view, Desk> desks; ///< by their names; the last for the same reason

private:
    void open_servers() {
        const Scenario &scenario = broker.scenario();
        const auto open = [&](std::string_view name, const Listener &listener) {
            desks.try_emplace(name, *this, name, listener);
        };
        open(server_name::broker, {scenario.port, scenario.tls, scenario.patience});
        if (scenario.view_broker)
            open(server_name::view_broker, *scenario.view_broker);
        if (scenario.direct_host)
            open(server_name::direct_host, *scenario.direct_host);
        if (scenario.registration)
            open(server_name::registration, scenario.registration->listener);
        if (scenario.provisioning)
            open(server_name::provisioning, scenario.provisioning->listener);
        if (scenario.proxy)
            open(server_name::proxy, scenario.proxy->listener);
    }

    const Proxy *proxy_of(std::string_view name) const {
        const auto &proxy = broker.scenario().proxy;
        return proxy && name == server_name::proxy ? &*proxy : nullptr;
    }

    /// Counts who asked the proxy for what, and says where the tunnel leads, if there is one.
    void let_through(const HttpRequest &request, Service::Reply &reply) {
        auto &[asked, let_through] =
            broker.state().proxy.counts[{proxy_user_of(request), request.target}];
        ++asked;
        if (!reply.answer.consents() || request.target.empty())
            return;
        ++let_through;
        reply.tunnel = endpoint_for(request.target);
    }

    /// The server whose port a target has, whatever its name is; else the broker.
    boost::asio::ip::tcp::endpoint endpoint_for(std::string_view target) const {
        const std::string_view port = target.substr(target.rfind(':') + 1);
        const auto meant = std::ranges::find_if(desks, [port](const auto &desk) {
            return port == std::to_string(desk.second.server.endpoint().port());
        });
        const auto &desk = meant == desks.end() ? desks.at(server_name::broker) : meant->second;
        return desk.server.endpoint();
    }

    /// Some answers name other servers, whose ports are known only now.
    void tell_where_they_are() {
        BrokerState &state = broker.state();
        if (auto &registration = state.scenario.registration)
            registration->table = replaced(std::move(registration->table), "${broker}",
                                           url_of(desks.at(server_name::broker).server.endpoint()));
        if (state.scenario.provisioning) {
            const Desk &desk = desks.at(server_name::provisioning);
            const auto endpoint = desk.server.endpoint();
            state.provisioner = {endpoint.address().to_string(), std::to_string(endpoint.port()),
                                 desk.identity.certificate_pem()};
        }
    }

    Fault fault_at(Stage stage, const Event &event) {
        return faults.find(event, [=](const Fault &fault) { return fault.stage == stage; });
    }

    HttpAnswer answer_to(const Visit &visit, const Event &event) {
        const Override scripted = overrides.find(event, [](const Override &) { return true; });
        HttpAnswer http = replaces_the_answer(scripted)
                              ? HttpAnswer{.body = scripted_body(scripted, visit.kind,
                                                                 broker.scenario().broker.version),
                                           .raw = scripted.raw}
                              : broker_sim::answer(broker, visit);
        if (scripted.status)
            http.status = scripted.status;
        http.headers.insert(http.headers.end(), scripted.headers.begin(), scripted.headers.end());
        return http;
    }
};

Simulator::Simulator(Scenario scenario) : impl_(std::make_unique<Impl>(std::move(scenario))) {}
Simulator::~Simulator() = default;

std::string Simulator::address() const {
    return impl_->desks.at(server_name::broker).server.endpoint().address().to_string();
}

std::uint16_t Simulator::port(std::string_view server) const {
    return impl_->desks.at(server).server.endpoint().port();
}

std::map<std::string, std::uint16_t> Simulator::ports() const {
    std::map<std::string, std::uint16_t> ports;
    for (const auto &[name, desk] : impl_->desks)
        ports.emplace(name, port(name));
    return ports;
}

const std::string &Simulator::ca_pem() const {
    static const std::string pem = process_ca().certificate_pem();
    return pem;
}

void Simulator::write_ca(const std::filesystem::path &path) const {
    write_file(path, ca_pem());
}

void Simulator::write_table_cache(const std::filesystem::path &folder) const {
    const auto &registration = impl_->broker.scenario().registration;
    if (!registration)
        throw std::runtime_error("the scenario has no registration table");
    write_file(folder / "conversion_table.dat", table_cache(registration->table));
}

unsigned Simulator::connections(std::string_view server) const {
    const std::lock_guard lock(impl_->mutex);
    return impl_->desks.at(server).connections;
}

std::vector<RecordedRequest> Simulator::requests() const {
    const std::lock_guard lock(impl_->mutex);
    return impl_->requests;
}

Variables Simulator::client_to_broker_variables() const {
    const std::lock_guard lock(impl_->mutex);
    return impl_->broker.state().client_to_broker;
}

Variables Simulator::client_to_agent_variables() const {
    const std::lock_guard lock(impl_->mutex);
    return impl_->broker.state().client_to_agent;
}

void Simulator::clear_recording() {
    const std::lock_guard lock(impl_->mutex);
    impl_->requests.clear();
    impl_->broker.state().client_to_broker.clear();
    impl_->broker.state().client_to_agent.clear();
}

bool Simulator::wait_for_requests(std::size_t count, std::chrono::milliseconds limit) const {
    std::unique_lock lock(impl_->mutex);
    return impl_->changed.wait_for(lock, limit, [&] { return impl_->requests.size() >= count; });
}

bool Simulator::wait_for_connections(unsigned count, std::chrono::milliseconds limit) const {
    std::unique_lock lock(impl_->mutex);
    const auto &broker = impl_->desks.at(server_name::broker);
    return impl_->changed.wait_for(lock, limit, [&] { return broker.connections >= count; });
}

void Simulator::inject(Fault fault) {
    const bool at_accept = fault.stage == Stage::accept;
    {
        const std::lock_guard lock(impl_->mutex);
        impl_->faults.add(std::move(fault));
    }
    if (at_accept)
        for (auto &[name, desk] : impl_->desks)
            desk.server.mind_the_door();
}

void Simulator::set_override(Override answer) {
    const std::lock_guard lock(impl_->mutex);
    impl_->overrides.add(std::move(answer));
}

void Simulator::clear_faults() {
    const std::lock_guard lock(impl_->mutex);
    impl_->faults.clear();
    impl_->overrides.clear();
}

std::string Simulator::desktop_state(std::string_view id) const {
    const std::lock_guard lock(impl_->mutex);
    if (const DesktopState *const desktop = impl_->broker.state().find_desktop(id))
        return desktop->power;
    throw std::out_of_range("no desktop " + std::string(id));
}

void Simulator::watch(std::string scenario_name) {
    const std::lock_guard lock(impl_->mutex);
    impl_->board.emplace(std::move(scenario_name));
}

std::string Simulator::status() const {
    const std::lock_guard lock(impl_->mutex);
    impl_->broker.end_abandoned_sessions();
    std::vector<StatusBoard::Server> servers;
    for (const auto &[name, desk] : impl_->desks)
        servers.push_back({name, desk.server.endpoint().port(), desk.connections});
    return impl_->board.value().json(impl_->broker.state(), servers);
}

} // namespace broker_sim
