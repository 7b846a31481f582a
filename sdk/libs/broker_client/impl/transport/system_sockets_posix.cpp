#include "transport/system_sockets.h"

#include <boost/asio/error.hpp>
#include <boost/system/system_error.hpp>

#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace kavro::system_sockets {

namespace asio = boost::asio;

const int send_flags = MSG_NOSIGNAL;

Handle open(int family, error_code &error) {
    const Handle socket = ::socket(family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_TCP);
    error = socket == no_socket ? last_error() : error_code();
    return socket;
}

void close(Handle socket) noexcept {
    ::close(socket);
}

error_code last_error() {
    if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINPROGRESS || errno == EINTR)
        return asio::error::would_block;
    return {errno, boost::system::system_category()};
}

Wakeup::Wakeup() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_NONBLOCK | O_CLOEXEC) != 0)
        throw boost::system::system_error(last_error(), "pipe2");
    heard_ = ends[0];
    rung_ = ends[1];
}

Wakeup::~Wakeup() {
    system_sockets::close(heard_);
    system_sockets::close(rung_);
}

void Wakeup::ring() const noexcept {
    const int before = errno;
    const char any = 0;
    [[maybe_unused]] const auto full_is_rung_too = ::write(rung_, &any, 1);
    errno = before;
}

void Wakeup::silence() const noexcept {
    std::array<char, 64> rings;
    while (::read(heard_, rings.data(), rings.size()) > 0) {
    }
}

void wait_for(std::span<Awaited> sockets, const Wakeup &wakeup,
              std::optional<std::chrono::milliseconds> at_most) {
    std::array<pollfd, 1 + most_awaited> polled;
    nfds_t count = 0;
    polled[count++] = {wakeup.handle(), POLLIN, 0};
    for (const Awaited &awaited : sockets)
        polled[count++] = {awaited.socket, static_cast<short>(awaited.to_write ? POLLOUT : POLLIN),
                           0};
    const auto limit = at_most ? std::min<long long>(at_most->count(), INT_MAX) : -1;
    const bool any = ::poll(polled.data(), count, static_cast<int>(limit)) > 0;
    for (std::size_t i = 0; i < sockets.size(); ++i)
        sockets[i].ready = any && polled[i + 1].revents != 0;
    if (any && polled.front().revents != 0)
        wakeup.silence();
}

} // namespace kavro::system_sockets
