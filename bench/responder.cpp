// The other end of every measurement: a TLS server with prepared answers, in a process of its own.
//
//   bench-responder DESKTOPS KEY TLS TRUST_FILE
//
// Writes the certificate of its authority to the file, its port and the size of the list in bytes
// to standard output, and serves one connection at a time until it is ended.
#include "messages.h"
#include "tls_client.h"
#include "tls_identity.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <iostream>
#include <map>
#include <utility>

using namespace bench;

namespace {

/// The only suites of the library for TLS 1.2 need an RSA certificate.
TlsContext server_context(const std::string &key, const std::string &tls,
                          const std::string &trust_file) {
    const broker_sim::Identity authority = broker_sim::mint_authority("Bench authority");
    const broker_sim::Identity server = broker_sim::mint_certificate(
        {.common_name = "localhost", .names = {"localhost", "127.0.0.1"}},
        broker_sim::generate_key(key), authority);
    std::ofstream(trust_file) << authority.certificate_pem();
    TlsContext context(SSL_CTX_new(TLS_server_method()));
    SSL_CTX_set_max_proto_version(context.get(), tls == "1.2" ? TLS1_2_VERSION : TLS1_3_VERSION);
    SSL_CTX_set_num_tickets(context.get(), 0);
    SSL_CTX_set_cipher_list(context.get(), "ECDHE-RSA-AES256-GCM-SHA384");
    SSL_CTX_use_certificate(context.get(), server.certificate.get());
    SSL_CTX_use_PrivateKey(context.get(), server.key.get());
    return context;
}

int listen_on_free_port(int &port) {
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::bind(listener, reinterpret_cast<const sockaddr *>(&address), sizeof address);
    ::listen(listener, SOMAXCONN);
    socklen_t length = sizeof address;
    ::getsockname(listener, reinterpret_cast<sockaddr *>(&address), &length);
    port = ntohs(address.sin_port);
    return listener;
}

/// Whether all of a request has come.
bool is_complete(std::string_view request) {
    constexpr std::string_view name = "Content-Length: ";
    const auto head = request.find("\r\n\r\n");
    const auto length = request.find(name);
    return head != request.npos && length < head &&
           request.size() - head - 4 >=
               std::stoul(std::string(request.substr(length + name.size(), 8)));
}

/// What was served since it was last told.
struct Served {
    int connections = 0; ///< that have ended
    int requests = 0;
};

/// The connection that asks is none that counts.
std::string told(Served &served) {
    const auto [connections, requests] = std::exchange(served, {-1, 0});
    return http_response(std::to_string(connections) + ' ' + std::to_string(requests));
}

/// Answers are long to write and few: each is written once.
const std::string &prepared_answer(std::string_view request, std::size_t desktops) {
    static std::map<std::string, std::string, std::less<>> answers;
    const auto body = request.substr(request.find("<kavro-client"));
    const auto message = body.substr(body.find('\n') + 1);
    const auto element = message.substr(0, message.find_first_of("> "));
    const auto found = answers.find(element);
    if (found != answers.end())
        return found->second;
    return answers[std::string(element)] = http_response(answer_to(request, desktops));
}

void serve(SSL *tls, std::size_t desktops, Served &served) {
    std::string request;
    const auto answer = [tls](const std::string &text) {
        SSL_write(tls, text.data(), static_cast<int>(text.size()));
    };
    char buffer[16 * 1024];
    for (int bytes = 0; (bytes = SSL_read(tls, buffer, sizeof buffer)) > 0;) {
        request.append(buffer, static_cast<std::size_t>(bytes));
        if (!is_complete(request))
            continue;
        if (request.find(count_request) != request.npos) {
            answer(told(served));
        } else {
            ++served.requests;
            answer(prepared_answer(request, desktops));
        }
        request.clear();
    }
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 5)
        return 2;
    std::signal(SIGPIPE, SIG_IGN);
    const std::size_t desktops = std::stoul(argv[1]);
    const auto list_bytes = list_answer(desktops).size();
    prepared_answer(list_request(), desktops);
    const TlsContext context = server_context(argv[2], argv[3], argv[4]);
    int port = 0;
    const int listener = listen_on_free_port(port);
    std::cout << port << ' ' << list_bytes << std::endl;
    for (Served served;; ++served.connections) {
        const int socket = ::accept(listener, nullptr, nullptr);
        const int on = 1;
        ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        const TlsConnection tls(SSL_new(context.get()));
        SSL_set_fd(tls.get(), socket);
        if (SSL_accept(tls.get()) == 1)
            serve(tls.get(), desktops, served);
        ::close(socket);
    }
}
