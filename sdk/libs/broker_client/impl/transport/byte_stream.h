#pragma once

#include <boost/system/error_code.hpp>

#include <cstddef>

namespace kavro {

/// Bytes to a peer and back. It never waits: what cannot be done at once is `would_block`.
class ByteStream {
public:
    using error_code = boost::system::error_code;

    virtual std::size_t read(char *data, std::size_t size, error_code &error) = 0;
    virtual std::size_t write(const char *data, std::size_t size, error_code &error) = 0;

protected:
    ~ByteStream() = default;
};

} // namespace kavro
