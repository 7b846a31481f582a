#include "socks.h"

#include "proxy_log_in.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>

#include <algorithm>
#include <iterator>

namespace broker_sim {
namespace asio = boost::asio;
using asio::awaitable;
using asio::use_awaitable;
using namespace std::string_literals;

namespace {

constexpr char anonymous = 0, by_password = 2;
constexpr char ipv4 = 1, ipv6 = 4;

struct Reply {
    unsigned status; ///< of HTTP
    char code;
};
constexpr Reply replies[] = {{200, 0}, {403, 2}, {405, 7}};

char reply_of(unsigned status) {
    const auto row = std::ranges::find(replies, status, &Reply::status);
    return row != std::end(replies) ? row->code : static_cast<char>(status < 100 ? status : 1);
}

template <class Address>
std::string address_text(const std::string &bytes) {
    typename Address::bytes_type address;
    std::ranges::copy(bytes, address.begin());
    return Address(address).to_string();
}

} // namespace

awaitable<HttpRequest> SocksClient::read() {
    if (!co_await log_in())
        co_return request_;
    const std::string command = co_await take(3);
    if (command[1] != 1)
        request_.method = "NO CONNECT";
    const std::string host = co_await read_host();
    const std::string port = co_await take(2);
    request_.target = host + ':' +
                      std::to_string(static_cast<unsigned char>(port[0]) * 256 +
                                     static_cast<unsigned char>(port[1]));
    co_return request_;
}

awaitable<bool> SocksClient::log_in() {
    co_await take(1);
    const std::string methods = co_await take_text();
    const char method = proxy_.log_in.empty() ? anonymous : by_password;
    refusal_ = "\x05\xff";
    if (methods.find(method) == methods.npos)
        co_return false;
    co_await say("\x05"s + method);
    if (method == by_password) {
        refusal_ = "\x01\x01";
        co_await take(1);
        const std::string user = co_await take_text();
        const std::string password = co_await take_text();
        if (!knows_user(proxy_, user, password))
            co_return false;
        request_.proxy_user = user;
        co_await say("\x01\0"s);
    }
    refusal_.clear();
    co_return true;
}

awaitable<std::string> SocksClient::read_host() {
    const std::string type = co_await take(1);
    if (type[0] == ipv4)
        co_return address_text<asio::ip::address_v4>(co_await take(4));
    if (type[0] == ipv6)
        co_return '[' + address_text<asio::ip::address_v6>(co_await take(16)) + ']';
    co_return co_await take_text();
}

std::string SocksClient::bytes(const HttpAnswer &answer, const Fault &) const {
    if (!refusal_.empty())
        return refusal_;
    return answer.raw ? *answer.raw : "\x05"s + reply_of(answer.status) + "\0\x01\0\0\0\0\0\0"s;
}

awaitable<std::string> SocksClient::take(std::size_t size) {
    std::string bytes(size, '\0');
    co_await asio::async_read(socket_, asio::buffer(bytes), use_awaitable);
    request_.head += bytes;
    co_return bytes;
}

awaitable<std::string> SocksClient::take_text() {
    const std::string size = co_await take(1);
    co_return co_await take(static_cast<unsigned char>(size[0]));
}

awaitable<void> SocksClient::say(std::string bytes) {
    co_await asio::async_write(socket_, asio::buffer(bytes), use_awaitable);
}

} // namespace broker_sim
