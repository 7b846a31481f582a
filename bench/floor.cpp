// The floor: what one exchange costs with nothing around it. Connect, handshake, write, read,
// close, with a kept TLS context that trusts one file; the answer is dropped.
#include "contender.h"
#include "messages.h"
#include "tls_client.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>
#include <vector>

using namespace bench;

namespace {

int connect_to(const std::string &port) {
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(port)));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int on = 1;
    ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (::connect(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        throw std::runtime_error("connect");
    return socket;
}

/// The length that the response's head states, and its own.
std::size_t response_size(std::string_view received) {
    constexpr std::string_view name = "Content-Length: ";
    const auto head = received.find("\r\n\r\n");
    const auto length = received.find(name);
    if (head == received.npos || length > head)
        throw std::runtime_error("no complete head in the first read");
    return head + 4 + std::stoul(std::string(received.substr(length + name.size(), 16)));
}

class Floor final : public Contender {
public:
    explicit Floor(const Setup &setup)
        : port_(setup.port), context_(verifying_context(setup.trust_file)) {}

    void hello_and_operation() override {
        exchange(hello_request());
        exchange(operation_request());
    }
    void list() override { exchange(list_request()); }
    void log_in() override {
        connected([this](SSL *tls) {
            for (const std::string &request : log_in_requests())
                post(tls, request);
        });
    }
    std::vector<Desktop> desktops() override { return {}; }

private:
    void exchange(const std::string &message) {
        connected([&](SSL *tls) { post(tls, message); });
    }

    template <class Work>
    void connected(Work work) {
        const TlsConnection tls(SSL_new(context_.get()));
        const int socket = connect_to(port_);
        SSL_set_fd(tls.get(), socket);
        require(SSL_connect(tls.get()), "SSL_connect");
        work(tls.get());
        ::close(socket);
    }

    void post(SSL *tls, const std::string &message) {
        const std::string request = http_request(message);
        SSL_write(tls, request.data(), static_cast<int>(request.size()));
        std::size_t received = read(tls);
        const std::size_t all = response_size({buffer_.data(), received});
        while (received < all)
            received += read(tls);
    }

    std::size_t read(SSL *tls) {
        const int bytes = SSL_read(tls, buffer_.data(), static_cast<int>(buffer_.size()));
        if (bytes <= 0)
            throw std::runtime_error("the connection ended early");
        return static_cast<std::size_t>(bytes);
    }

    std::string port_;
    TlsContext context_;
    std::vector<char> buffer_ = std::vector<char>(16 * 1024);
};

} // namespace

int main(int argc, char **argv) {
    return run_contender(argc, argv,
                         [](const Setup &setup) { return std::make_unique<Floor>(setup); });
}
