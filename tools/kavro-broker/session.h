#pragma once

#include "certificates.h"
#include "client_certificate.h"
#include "failure.h"
#include "first_use.h"
#include "options.h"
#include "records.h"
#include "secret.h"
#include "surroundings.h"

#include <fmt/format.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kavro_cli {

/// One conversation with the broker. Every text that goes into a request is escaped here, and
/// nowhere else. A request that fails throws a Failure with what the broker said and what is wrong
/// with its certificate; one that starts after the user has interrupted throws as well.
class Session {
public:
    Session(const Options &options, const Surroundings &surroundings);
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    void use_proxy(const ProxyOptions &proxy, const Secret &password);
    /// Shows a certificate to a broker that asks for one. It must outlive this object.
    void show(ClientCertificate &certificate);

    /// About a broker that is not known here. Without this it is refused.
    void ask_whom_to_trust(Prompts &prompts) { first_use_.ask(prompts); }

    /// What the broker wants next, a `KAVRO_BROKER_AUTH_METHOD_...` value, and the answers to it.
    uint32_t auth_method();
    void send_password(const std::string &user, const std::string &domain, const Secret &password);
    void send_new_password(const std::string &user, const std::string &domain,
                           const Secret &old_password, const Secret &new_password);
    void send_dialog(const std::string &button_id,
                     const std::vector<std::pair<std::string, Secret>> &fields);
    void send_disclaimer(bool accept);
    void send_oauth_code(const Secret &code);

    /// The chain of the last connection.
    std::vector<Certificate> certificates() const { return describe(broker_.certificates()); }

    std::vector<std::string> domains() const { return broker_.auth_domains(); }
    kavro_broker::dialog dialog() const { return broker_.auth_dialog(); }
    std::string disclaimer() const { return broker_.disclaimer_text(); }
    /// What became of the last request, as JSON text.
    std::string request_report() const { return broker_.request_report(); }
    BrokerInfo broker_info() const {
        return {broker_.broker_info(), broker_.resolved_broker_address()};
    }

    /// Asked for once, and again after something was done to a desktop, or forget_desktops().
    const std::vector<Desktop> &desktops();
    void forget_desktops() { desktops_.reset(); }

    void operate(const std::string &desktop_id, uint32_t operation);
    Connection connect(const std::string &desktop_id, const Variables &agent_variables,
                       uint16_t timeout_seconds);

    /// Ends the session at the broker, if it was ever greeted. Whether that works changes nothing.
    void log_out();

private:
    void set_address(const Options &options);
    bool is_pinned() const { return !pin_.sha256.empty(); }
    bool shows_pinned_certificate() const;
    std::optional<KnownBroker> shown_broker() const;
    uint32_t greet_stranger(const Failure &failure);
    uint32_t greet();
    void check_pin() const;
    void tell_what_the_code_stands_for();
    Failure failure(const kavro_broker::error &error) const;
    void record_request() const;

    /// Has a request recorded that ends with its life, however that is.
    struct Recorded {
        ~Recorded() { session.record_request(); }
        const Session &session;
    };

    /// `deed` is what the broker is waited for to do, as "list the desktops".
    template <class Call>
    auto request(const char *deed, Call call) const {
        const Recorded recorded{*this};
        try {
            return wait_for(fmt::format("Waiting for {} to {}", place_, deed), surroundings_, call);
        } catch (const kavro_broker::error &error) {
            throw failure(error);
        }
    }

    const Surroundings &surroundings_;
    const std::string place_; ///< of the broker, as it is shown
    Pin pin_;
    FirstUse first_use_;
    std::string registration_code_; ///< of which the user has not been told what it stands for
    const ClientCertificate *client_certificate_ = nullptr;
    std::optional<std::vector<Desktop>> desktops_;
    kavro_broker::broker broker_;
    Interruption::Watch watch_;
};

} // namespace kavro_cli
