#include "broker.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>

// What stands between a fuzzed address and the network (the linker's --wrap leads here): no name is
// looked up, and nothing but the fuzzer's own broker is connected to.

std::atomic<int> fuzz::open_port{0};

extern "C" {

int __real_connect(int socket, const sockaddr *address, socklen_t length);
int __real_getaddrinfo(const char *node, const char *service, const addrinfo *hints,
                       addrinfo **result);

int __wrap_connect(int socket, const sockaddr *address, socklen_t length) {
    const auto *ipv4 = reinterpret_cast<const sockaddr_in *>(address);
    if (address->sa_family == AF_INET && ntohl(ipv4->sin_addr.s_addr) == INADDR_LOOPBACK &&
        ntohs(ipv4->sin_port) == fuzz::open_port)
        return __real_connect(socket, address, length);
    errno = ECONNREFUSED;
    return -1;
}

int __wrap_getaddrinfo(const char *node, const char *service, const addrinfo *hints,
                       addrinfo **result) {
    addrinfo literal = hints != nullptr ? *hints : addrinfo{};
    literal.ai_flags |= AI_NUMERICHOST;
    return __real_getaddrinfo(node, service, &literal, result);
}

} // extern "C"
