#pragma once

#include "transport/byte_stream.h"
#include "transport/connection_report.h"
#include "transport/tcp_socket.h"
#include "transport/waiter.h"

#include <boost/asio/error.hpp>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

namespace kavro {

/// A socket, and the waiting for it.
///
/// No step takes more than 256 KiB from it before deadline and cancel have their turn, whatever the
/// peer sends.
class Wire final : public ByteStream {
public:
    static constexpr std::uint64_t no_limit = std::numeric_limits<std::uint64_t>::max();
    static constexpr std::size_t most_bytes_in_a_step = 256 * 1024;

    explicit Wire(Waiter &waiter) : waiter_(waiter) {}

    /// Takes the place of the socket before.
    void use(TcpSocket socket);
    const TcpSocket &socket() const { return socket_; }
    const Traffic &traffic() const { return traffic_; }
    /// A step has taken no more than it may at once, so that nothing is left in the socket.
    bool is_read_empty() const { return taken_in_step_ < most_bytes_in_a_step; }

    /// What comes from now on is another request's: the next read asks the socket.
    void begin_anew();

    std::size_t read(char *data, std::size_t size, error_code &error) override;
    std::size_t write(const char *data, std::size_t size, error_code &error) override;

    /// Tries a step until it is over, and waits for the socket in between.
    /// @returns operation_aborted when the waiter ended it, no_buffer_space when more than so many
    /// bytes came meanwhile.
    template <class Step>
    error_code run(Step step, std::uint64_t most_bytes = no_limit) {
        const std::uint64_t before = traffic_.received;
        while (true) {
            if (const error_code over = waiter_.check())
                return over;
            taken_in_step_ = 0;
            const error_code error = step();
            if (error != boost::asio::error::would_block)
                return error;
            if (traffic_.received - before > most_bytes)
                return boost::asio::error::no_buffer_space;
            if (const error_code over = wait())
                return over;
        }
    }

private:
    error_code wait();

    Waiter &waiter_;
    TcpSocket socket_;
    bool to_write_ = false;         ///< what would block
    bool drained_ = false;          ///< the last read has emptied the socket
    std::size_t taken_in_step_ = 0; ///< from the socket
    Traffic traffic_;
};

} // namespace kavro
