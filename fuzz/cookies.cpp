#include "http_reading.h"

#include <string>

// Whatever a broker sets as cookies, and however many: what is sent back stands in one header line,
// name by name, and adds no line to the request.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    std::string response = "HTTP/1.1 200 OK\r\nContent-Length: 0\r\nSet-Cookie: ";
    for (const char c : fuzz::as_text(data, size))
        c == '\n' ? response += "\r\nSet-Cookie: " : response += c;
    const auto cookies = fuzz::read_at_once(response + "\r\n\r\n").cookies;

    const auto request = kavro::http_post_request("/path", "host", "", cookies, "");
    constexpr int lines_without_cookies = 9;
    int lines = 0;
    for (auto at = request.find("\r\n"); at != request.npos; at = request.find("\r\n", at + 2))
        ++lines;
    fuzz::promise(lines == lines_without_cookies + (cookies.empty() ? 0 : 1),
                  "one line of cookies");

    std::string line;
    for (const auto &[name, value] : cookies)
        line += (line.empty() ? "\r\nCookie: " : "; ") + name + "=" + value;
    fuzz::promise(request.find(line) != request.npos, "each cookie as it came");
    return 0;
}
