#pragma once

#include "certificates.h"
#include "client_certificate.h"
#include "options.h"
#include "records.h"
#include "secret.h"
#include "surroundings.h"

#include <string>
#include <utility>
#include <vector>

namespace kavro_cli {

/// One conversation with the broker. Every text that goes into a request is escaped here, and
/// nowhere else. Each request throws when the user has interrupted before it starts.
class Session {
public:
    Session(const Options &options, const Surroundings &surroundings);
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    /// Shows a certificate to a broker that asks for one. It must outlive this object.
    void show(ClientCertificate &certificate);

    /// What the broker wants next, a `KAVRO_BROKER_AUTH_METHOD_...` value.
    uint32_t auth_method();

    /// The answers to it. They return the result, because a wrong one may be given again.
    kavro_broker_result send_password(const std::string &user, const std::string &domain,
                                      const Secret &password);
    kavro_broker_result send_new_password(const std::string &user, const std::string &domain,
                                          const Secret &old_password, const Secret &new_password);
    kavro_broker_result send_dialog(const std::string &button_id,
                                    const std::vector<std::pair<std::string, Secret>> &fields);
    kavro_broker_result send_disclaimer(bool accept);
    kavro_broker_result send_oauth_code(const Secret &code);

    /// The chain of the last connection.
    std::vector<Certificate> certificates() const { return read_certificates(handle_.get()); }

    std::vector<std::string> domains() const { return read_domains(handle_.get()); }
    Dialog dialog() const { return read_dialog(handle_.get()); }
    std::string disclaimer() const;
    BrokerInfo broker_info() const { return read_broker_info(handle_.get()); }

    std::vector<Desktop> desktops();
    void operate(const std::string &desktop_id, uint32_t operation);

    /// Fills `target` on success; returns the result, because "pending" is no failure to a caller
    /// who waits.
    kavro_broker_result connect(const std::string &desktop_id, const Variables &agent_variables,
                                uint16_t timeout_seconds, Target &target);

    /// Ends the session at the broker, if it was ever greeted. Whether that works changes nothing.
    void log_out();

    /// The failure that a result means, with what the broker said and what is wrong with its
    /// certificate.
    Failure failure(kavro_broker_result result) const;
    void check(kavro_broker_result result) const;

private:
    bool shows_pinned_certificate() const;
    void check_pin() const;

    std::string resolved_address() const;
    void tell_what_the_code_stands_for();

    template <class Call>
    kavro_broker_result request(const char *label, Call call) const {
        return wait_for(label, surroundings_, call);
    }

    const Surroundings &surroundings_;
    std::string pin_;
    std::string registration_code_; ///< of which the user has not been told what it stands for
    const ClientCertificate *client_certificate_ = nullptr;
    Handle handle_;
    Interruption::Watch watch_;
};

} // namespace kavro_cli
