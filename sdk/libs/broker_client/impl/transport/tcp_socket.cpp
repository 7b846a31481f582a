#include "transport/tcp_socket.h"

#include <boost/asio/error.hpp>
#include <boost/system/system_error.hpp>

#include <algorithm>
#include <string>
#include <vector>

namespace kavro {

namespace asio = boost::asio;
using boost::system::error_code;
using system_sockets::last_error;

namespace {

static_assert(NameResolver::max_endpoints <= system_sockets::most_awaited);

/// RFC 8305 section 5: the recommended delay between two attempts.
constexpr std::chrono::milliseconds attempt_delay{250};

std::string text_of(const TcpSocket::Endpoint &endpoint) {
    const std::string address = endpoint.address().to_string();
    return (endpoint.address().is_v6() ? "[" + address + "]:" : address + ":") +
           std::to_string(endpoint.port());
}

/// Whether the process or the machine has no socket left.
bool is_shortage(const error_code &error) {
    using namespace boost::system::errc;
    return error == too_many_files_open || error == too_many_files_open_in_system ||
           error == no_buffer_space || error == not_enough_memory;
}

/// RFC 8305 section 4: the families take turns, the one that the resolver prefers first.
NameResolver::Endpoints in_turns(const NameResolver::Endpoints &endpoints) {
    NameResolver::Endpoints preferred, others, turns;
    for (const auto &endpoint : endpoints)
        (endpoint.protocol() == endpoints.front().protocol() ? preferred : others)
            .push_back(endpoint);
    for (std::size_t i = 0; i < std::max(preferred.size(), others.size()); ++i) {
        for (const auto *family : {&preferred, &others}) {
            if (i < family->size())
                turns.push_back((*family)[i]);
        }
    }
    return turns;
}

/// The attempts to connect to one peer.
class Race {
public:
    Race(const NameResolver::Endpoints &endpoints, Waiter &waiter, ConnectionReport &report)
        : endpoints_(in_turns(endpoints)), waiter_(waiter), report_(report) {}

    TcpSocket run(error_code &error) {
        while (start_those_due()) {
            const bool more = next_ < endpoints_.size();
            error = waiter_.wait(awaited_, more ? std::optional(next_due_) : std::nullopt);
            if (error)
                return {};
            if (TcpSocket first = take_connected(); first.handle() != system_sockets::no_socket)
                return first;
        }
        error = last_failure_;
        return {};
    }

private:
    /// False when no attempt is under way and none is left.
    bool start_those_due() {
        while (next_ < endpoints_.size() && (sockets_.empty() || Waiter::Clock::now() >= next_due_))
            start(endpoints_[next_++]);
        return !sockets_.empty();
    }

    void start(const TcpSocket::Endpoint &endpoint) {
        report_.tried.push_back(text_of(endpoint));
        error_code failure;
        TcpSocket socket(endpoint, failure);
        if (is_shortage(failure)) // which no other address would cure
            throw boost::system::system_error(failure, "socket");
        if (failure) {
            last_failure_ = failure;
            return;
        }
        awaited_.push_back({socket.handle(), true});
        sockets_.push_back(std::move(socket));
        names_.push_back(report_.tried.back());
        next_due_ = Waiter::Clock::now() + attempt_delay;
    }

    TcpSocket take_connected() {
        for (std::size_t i = sockets_.size(); i-- > 0;) {
            if (!awaited_[i].ready)
                continue;
            last_failure_ = sockets_[i].error();
            if (!last_failure_) {
                report_.address = names_[i];
                return std::move(sockets_[i]);
            }
            forget(i);
        }
        return {};
    }

    /// The next address need not wait for one that has failed.
    void forget(std::size_t attempt) {
        const auto at = static_cast<std::ptrdiff_t>(attempt);
        sockets_.erase(sockets_.begin() + at);
        awaited_.erase(awaited_.begin() + at);
        names_.erase(names_.begin() + at);
        next_due_ = Waiter::Clock::now();
    }

    const NameResolver::Endpoints endpoints_;
    Waiter &waiter_;
    ConnectionReport &report_;
    std::size_t next_ = 0;
    Waiter::Clock::time_point next_due_;
    error_code last_failure_ = asio::error::host_not_found;
    // Of the attempts under way, in the order in which they were started.
    std::vector<TcpSocket> sockets_;
    std::vector<system_sockets::Awaited> awaited_;
    std::vector<std::string> names_;
};

/// What getsockname() and getpeername() have in common.
template <class Ask>
TcpSocket::Endpoint endpoint_by(Ask ask, system_sockets::Handle socket, error_code &error) {
    TcpSocket::Endpoint endpoint;
    auto size = static_cast<socklen_t>(endpoint.capacity());
    error = ask(socket, endpoint.data(), &size) == 0 ? error_code() : last_error();
    if (!error)
        endpoint.resize(static_cast<std::size_t>(size));
    return endpoint;
}

} // namespace

TcpSocket::TcpSocket(const Endpoint &endpoint, error_code &error)
    : handle_(system_sockets::open(endpoint.protocol().family(), error)) {
    if (error || ::connect(handle_, endpoint.data(), static_cast<socklen_t>(endpoint.size())) == 0)
        return;
    error = last_error();
    if (error == asio::error::would_block)
        error.clear();
}

TcpSocket::~TcpSocket() {
    if (handle_ != system_sockets::no_socket)
        system_sockets::close(handle_);
}

error_code TcpSocket::error() const {
    int error = 0;
    auto size = static_cast<socklen_t>(sizeof error);
    if (::getsockopt(handle_, SOL_SOCKET, SO_ERROR, reinterpret_cast<char *>(&error), &size) != 0)
        return last_error();
    return {error, boost::system::system_category()};
}

void TcpSocket::send_without_delay() {
    const int on = 1; // a wish: whether it is granted does not matter
    ::setsockopt(handle_, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char *>(&on), sizeof on);
}

std::size_t TcpSocket::read(char *data, std::size_t size, error_code &error) {
    const auto bytes = ::recv(handle_, data, size, 0);
    if (bytes > 0)
        return static_cast<std::size_t>(bytes);
    error = bytes == 0 ? error_code(asio::error::eof) : last_error();
    return 0;
}

std::size_t TcpSocket::write(const char *data, std::size_t size, error_code &error) {
    const auto bytes = ::send(handle_, data, size, system_sockets::send_flags);
    if (bytes >= 0)
        return static_cast<std::size_t>(bytes);
    error = last_error();
    return 0;
}

TcpSocket::Endpoint TcpSocket::local_endpoint(error_code &error) const {
    return endpoint_by(::getsockname, handle_, error);
}

TcpSocket::Endpoint TcpSocket::remote_endpoint(error_code &error) const {
    return endpoint_by(::getpeername, handle_, error);
}

TcpSocket connect_to_one_of(const NameResolver::Endpoints &endpoints, Waiter &waiter,
                            ConnectionReport &report, error_code &error) {
    return Race(endpoints, waiter, report).run(error);
}

} // namespace kavro
