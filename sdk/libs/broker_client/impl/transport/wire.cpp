#include "transport/wire.h"

namespace kavro {

namespace asio = boost::asio;
using boost::system::error_code;

void Wire::use(TcpSocket socket) {
    socket_ = std::move(socket);
    socket_.send_without_delay();
    to_write_ = drained_ = false;
}

void Wire::begin_anew() {
    traffic_ = {};
    drained_ = false;
    taken_in_step_ = 0;
}

/// A read that does not fill its room has emptied the socket, and what was just sent is not
/// answered yet: to ask before the next wait would be a system call for nothing.
std::size_t Wire::read(char *data, std::size_t size, error_code &error) {
    std::size_t bytes = 0;
    if (drained_ || taken_in_step_ >= most_bytes_in_a_step)
        error = asio::error::would_block;
    else
        bytes = socket_.read(data, size, error);
    if (error == asio::error::would_block)
        to_write_ = false;
    if (bytes > 0) {
        drained_ = bytes < size;
        taken_in_step_ += bytes;
        traffic_.received += bytes;
    }
    return bytes;
}

std::size_t Wire::write(const char *data, std::size_t size, error_code &error) {
    const std::size_t bytes = socket_.write(data, size, error);
    to_write_ = error == asio::error::would_block;
    traffic_.sent += bytes;
    drained_ = true;
    return bytes;
}

error_code Wire::wait() {
    if (taken_in_step_ >= most_bytes_in_a_step && !drained_ && !to_write_)
        return {}; // there is more, but others have their turn
    system_sockets::Awaited awaited{socket_.handle(), to_write_};
    while (!awaited.ready) {
        if (const error_code over = waiter_.wait({&awaited, 1}))
            return over;
    }
    drained_ = drained_ && to_write_;
    return {};
}

} // namespace kavro
