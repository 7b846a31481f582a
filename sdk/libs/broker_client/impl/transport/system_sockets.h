#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/system/error_code.hpp>

#include <chrono>
#include <cstddef>
#include <optional>
#include <span>

// What connections need of the system, each function a few calls of it. Nothing here waits but
// wait_for().

namespace kavro::system_sockets {

using Handle = decltype(::socket(0, 0, 0)); // a number whose type is the system's
using boost::system::error_code;

inline constexpr Handle no_socket = static_cast<Handle>(-1);

/// A TCP socket that never waits and that programs started meanwhile do not inherit.
Handle open(int family, error_code &error);
void close(Handle socket) noexcept;

/// Of the calling thread's last call; `would_block` for all that is merely not over yet.
error_code last_error();
/// Flags of send(): a peer that is gone is an error, not a signal.
extern const int send_flags;

/// A socket that is waited for. No more than this many are at once.
inline constexpr std::size_t most_awaited = 16;
struct Awaited {
    Handle socket;
    bool to_write = false; ///< or connected; else to read
    bool ready = false;
};

/// Ends a wait from another thread or from a signal handler.
class Wakeup {
public:
    /// @throws boost::system::system_error when the system has no descriptors left.
    Wakeup();
    ~Wakeup();
    Wakeup(const Wakeup &) = delete;
    Wakeup &operator=(const Wakeup &) = delete;

    /// Allocates nothing, locks nothing and leaves errno alone.
    void ring() const noexcept;
    void silence() const noexcept;
    Handle handle() const { return heard_; }

private:
    Handle heard_ = no_socket;
    Handle rung_ = no_socket; ///< the other end, which may be the same
};

/// Waits until a socket is ready, somebody rings, or the time is over; a signal may end it early.
void wait_for(std::span<Awaited> sockets, const Wakeup &wakeup,
              std::optional<std::chrono::milliseconds> at_most);

} // namespace kavro::system_sockets
