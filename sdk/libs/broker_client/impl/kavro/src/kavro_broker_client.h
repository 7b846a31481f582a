#pragma once

#include "kavro/src/hello.h"
#include "kavro/src/ibroker_client.h"
#include "kavro/src/session_provisioning.h"
#include "transport/https_xml_client.h"
#include "utils/src/system_trust.h"

#include <string>

namespace kavro {

/// The client that speaks the library's own broker protocol: XML messages over HTTPS.
class cKAVRO_BROKER_CLIENT final : public iBROKER_CLIENT {
public:
    static constexpr std::uint32_t variant = 0x4B415652; // "KAVR"

    cKAVRO_BROKER_CLIENT();

    std::uint32_t get_variant() const override { return variant; }
    bool connect_to_broker(const ConnectionRequest &request, ConnectionHandler handler) override;
    std::uint32_t clear_session() override;
    void release_connection() override { transport_.release(); }
    void do_hello(const Variables &client_variables, HelloHandler handler) override;
    void get_authentication_method(AuthHandler handler) override;
    void authenticate_password(std::string_view user_name, std::string_view password,
                               std::string_view domain, AuthHandler handler) override;
    void authenticate_dialog(std::span<const DialogAnswer> fields, std::string_view button_id,
                             AuthHandler handler) override;
    void authenticate_oauth(std::string_view code, AuthHandler handler) override;
    void accept_disclaimer(bool accept, AuthHandler handler) override;
    void update_password(std::string_view user_name, std::string_view old_password,
                         std::string_view new_password, std::string_view domain,
                         AuthHandler handler) override;
    void get_resource_list(DesktopListHandler handler) override;
    void allocate_resource(std::string_view resource_id, const Variables &agent_variables,
                           AllocationHandler handler, std::chrono::milliseconds timeout) override;
    void perform_operation(std::string_view resource_id, eKAVRO_BROKER_DESKTOP_CMD command,
                           OperationHandler handler) override;
    void do_logout(LogoutHandler handler) override;

    // What this kind of broker does not offer.
    void authenticate_securid(std::string_view, std::string_view, AuthHandler handler) override {
        complete_unimplemented(std::move(handler));
    }
    void authenticate_securid_token(std::string_view, AuthHandler handler) override {
        complete_unimplemented(std::move(handler));
    }
    void change_securid_pin(std::string_view, std::string_view, std::string_view,
                            AuthHandler handler) override {
        complete_unimplemented(std::move(handler));
    }
    void wait_for_securid(AuthHandler handler) override {
        complete_unimplemented(std::move(handler));
    }
    void confirm_certificate(bool, AuthHandler handler) override {
        complete_unimplemented(std::move(handler));
    }

    void set_signing_function(SigningFunction sign) override {
        transport_.client_signing().set_signing_function(std::move(sign));
    }
    bool set_client_certificate(X509Handle certificate) override {
        return transport_.client_signing().set_client_certificate(std::move(certificate));
    }
    bool set_signing_key(std::vector<X509Handle> certificates,
                         SchemeSigningFunction sign) override {
        return transport_.client_signing().set_signing_key(std::move(certificates),
                                                           std::move(sign));
    }
    bool set_key_pins(const KeyPins &pins) override {
        transport_.set_key_pins(pins);
        return true;
    }
    bool use_platform_verifier(bool use) override {
        auto verifier = use ? platform_verifier() : nullptr;
        const bool there = verifier != nullptr;
        if (there || !use)
            transport_.set_platform_verifier(std::move(verifier));
        return there || !use;
    }
    bool require_stapled_status(bool require) override {
        transport_.require_stapled_status(require);
        return true;
    }
    void set_certificate_extractor(const CertificateExtractor &extractor) override {
        transport_.setCertificateExtractor(extractor);
    }
    std::string get_protocol_name() const override { return "Kavro"; }
    void enable_ipv6(bool) override {} // the transport takes either kind of address as it comes
    void run_io(bool block) override { transport_.run_io(block); }
    void cancel() override { transport_.cancel(); }
    void set_client_log_id(std::string id) override;
    std::string get_client_log_id() const override { return transport_.client_log_id(); }
    std::string get_resolved_address() const override { return resolved_address_; }
    void enable_oauth(bool enable) override { dialect_.oauth = enable; }

private:
    /// What reads the answer to a message and hands it on.
    template <class Record, class... Given, class Handler>
    auto reading(const Message<Record, Given...> &message, Handler handler);
    /// Posts a message; whatever comes of it, `handler` gets the result and the record once.
    template <class Record, class... Given, class Handler>
    void exchange(const Message<Record, Given...> &message, std::chrono::milliseconds timeout,
                  Handler handler, const std::type_identity_t<Given> &...given);
    template <class... Given>
    void authenticate(const Message<AuthAnswer, Given...> &message, AuthHandler handler,
                      const std::type_identity_t<Given> &...given);
    void complete_unimplemented(AuthHandler handler);
    void handle_connect_to_broker(const ConnectResult &result, const ConnectionHandler &handler);
    void learn_identity();
    cAUTH_RESULT kept(AuthAnswer answer);
    BrokerResult provision(const Provisioner &provisioner, cDESKTOP_CONNECTION_RESULT &connection);
    void resolve_target(cDESKTOP_CONNECTION_RESULT connection, std::chrono::milliseconds timeout,
                        const AllocationHandler &handler);

    HttpsXmlClient transport_;
    TimeLimits limits_;
    ClientIdentity identity_;
    Dialect dialect_;
    std::string next_authentication_; ///< what the broker asked for last, as XML text
    cAUTH_RESULT wanted_;             ///< the same as it was read
    std::string resolved_address_;
};

} // namespace kavro
