#include "server_tls.h"

namespace broker_sim {

const Identity &process_ca() {
    static const KeyPtr first = shared_key("ec-p256"); // OpenSSL outlives what is made after this
    static const Identity ca = mint_authority("Broker Simulator CA");
    return ca;
}

Identity server_identity(const Tls &tls, const std::string &address) {
    Subject subject{.common_name = "Broker Simulator", .names = tls.names};
    if (tls.automatic_names)
        for (const std::string &name :
             {std::string("localhost"), address, std::string("127.0.0.1"), std::string("::1")})
            subject.names.push_back(name);
    if (tls.expired) {
        subject.valid_from_days = -30;
        subject.valid_to_days = -1;
    }
    const KeyPtr key = shared_key(tls.key);
    switch (tls.issuer) {
    case Issuer::self:
        return mint_self_signed(subject, key);
    case Issuer::stranger:
        return mint_certificate(subject, key, mint_authority("Unknown CA"));
    case Issuer::ca:
        break;
    }
    return mint_certificate(subject, key, process_ca());
}

boost::asio::ssl::context server_tls(const Tls &tls, const Identity &identity) {
    using boost::asio::ssl::context;
    context server(context::tls_server);
    SSL_CTX *const handle = server.native_handle();
    SSL_CTX_set_security_level(handle, 0); // weak keys are for the client to refuse
    SSL_CTX_set_min_proto_version(handle, TLS1_2_VERSION);
    SSL_CTX_set_max_proto_version(handle, tls.max_version == "1.1"   ? TLS1_1_VERSION
                                          : tls.max_version == "1.2" ? TLS1_2_VERSION
                                                                     : TLS1_3_VERSION);
    SSL_CTX_use_certificate(handle, identity.certificate.get());
    SSL_CTX_use_PrivateKey(handle, identity.key.get());
    if (tls.demand_client_certificate) {
        server.set_verify_mode(boost::asio::ssl::verify_peer |
                               boost::asio::ssl::verify_fail_if_no_peer_cert);
        server.set_verify_callback([](bool, boost::asio::ssl::verify_context &) { return true; });
    }
    return server;
}

} // namespace broker_sim
