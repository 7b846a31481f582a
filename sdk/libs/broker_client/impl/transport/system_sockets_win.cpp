#include "transport/system_sockets.h"

#include <boost/asio/error.hpp>
#include <boost/system/system_error.hpp>

#include <array>

namespace kavro::system_sockets {

namespace asio = boost::asio;

const int send_flags = 0; // there is no such signal

static_assert(1 + most_awaited <= FD_SETSIZE);

namespace {

/// Winsock serves a process that has announced itself, as often as it likes.
void start_winsock() {
    static const int started = [] {
        WSADATA unused;
        return ::WSAStartup(MAKEWORD(2, 2), &unused);
    }();
    if (started != 0)
        throw boost::system::system_error(error_code(started, boost::system::system_category()),
                                          "WSAStartup");
}

Handle open_quietly(int family, int type, int protocol) {
    const Handle socket = ::WSASocketW(family, type, protocol, nullptr, 0,
                                       WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
    unsigned long at_once = 1;
    if (socket != no_socket)
        ::ioctlsocket(socket, FIONBIO, &at_once);
    return socket;
}

} // namespace

Handle open(int family, error_code &error) {
    start_winsock();
    const Handle socket = open_quietly(family, SOCK_STREAM, IPPROTO_TCP);
    error = socket == no_socket ? last_error() : error_code();
    const int off = 0; // an IPv4 address may be written as one of IPv6 (RFC 4291 section 2.5.5.2)
    if (!error && family == AF_INET6)
        ::setsockopt(socket, IPPROTO_IPV6, IPV6_V6ONLY, reinterpret_cast<const char *>(&off),
                     sizeof off);
    return socket;
}

void close(Handle socket) noexcept {
    ::closesocket(socket);
}

error_code last_error() {
    const int error = ::WSAGetLastError();
    if (error == WSAEWOULDBLOCK || error == WSAEINPROGRESS)
        return asio::error::would_block;
    return {error, boost::system::system_category()};
}

/// A datagram socket of the loopback interface that is connected to itself: select() knows only
/// sockets, and nobody else can send to it.
Wakeup::Wakeup() {
    start_winsock();
    heard_ = rung_ = open_quietly(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
    sockaddr_in own{};
    own.sin_family = AF_INET;
    own.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
    int size = sizeof own;
    const auto address = reinterpret_cast<sockaddr *>(&own);
    const bool made = heard_ != no_socket && ::bind(heard_, address, size) == 0 &&
                      ::getsockname(heard_, address, &size) == 0 &&
                      ::connect(heard_, address, size) == 0;
    if (made)
        return;
    const error_code error = last_error();
    if (heard_ != no_socket)
        system_sockets::close(heard_);
    throw boost::system::system_error(error, "wakeup");
}

Wakeup::~Wakeup() {
    system_sockets::close(heard_);
}

void Wakeup::ring() const noexcept {
    const int before = ::WSAGetLastError();
    const char any = 0;
    ::send(rung_, &any, 1, 0);
    ::WSASetLastError(before);
}

void Wakeup::silence() const noexcept {
    std::array<char, 64> rings;
    while (::recv(heard_, rings.data(), static_cast<int>(rings.size()), 0) > 0) {
    }
}

/// With select() and not WSAPoll(), which before Windows 10 2004 misses connections that fail.
void wait_for(std::span<Awaited> sockets, const Wakeup &wakeup,
              std::optional<std::chrono::milliseconds> at_most) {
    fd_set to_read, to_write, failed;
    FD_ZERO(&to_read);
    FD_ZERO(&to_write);
    FD_ZERO(&failed);
    FD_SET(wakeup.handle(), &to_read);
    for (const Awaited &awaited : sockets) {
        FD_SET(awaited.socket, awaited.to_write ? &to_write : &to_read);
        FD_SET(awaited.socket, &failed);
    }
    timeval limit{};
    if (at_most) {
        limit.tv_sec = static_cast<long>(at_most->count() / 1000);
        limit.tv_usec = static_cast<long>(at_most->count() % 1000 * 1000);
    }
    const bool any = ::select(0, &to_read, &to_write, &failed, at_most ? &limit : nullptr) > 0;
    for (Awaited &awaited : sockets)
        awaited.ready =
            any && (FD_ISSET(awaited.socket, &to_read) || FD_ISSET(awaited.socket, &to_write) ||
                    FD_ISSET(awaited.socket, &failed));
    if (any && FD_ISSET(wakeup.handle(), &to_read))
        wakeup.silence();
}

} // namespace kavro::system_sockets
