#include "player.h"

namespace broker_sim {
namespace {

/// Any session will do: it is the recording that knows which it was.
constexpr const char *session_cookie = "JSESSIONID=recorded; Path=/; Secure; HttpOnly";

/// In the first element of the name behind a mark.
void replace_content(std::string &xml, std::string_view mark, const std::string &name,
                     const std::string &content) {
    const std::string tag = "<" + name + ">";
    const std::size_t begin = xml.find(tag, std::min(xml.find(mark), xml.size()));
    if (begin != xml.npos)
        xml.replace(begin + tag.size(), xml.find('<', begin + 1) - begin - tag.size(), content);
}

} // namespace

Player::Player(Replay replay, const Provisioner &provisioner) : replay_(std::move(replay)) {
    for (RecordedExchange &exchange : replay_.exchanges)
        for (const auto &[name, content] : {std::pair("ip-address", &provisioner.address),
                                            {"port", &provisioner.port},
                                            {"leaf-certificate", &provisioner.certificate}})
            replace_content(exchange.body, "<provisioner>", name, *content);
}

Fault Player::before_tls() {
    if (at_end())
        next_ = 0;
    return is_next("") ? replay_.exchanges[next_++].fault : Fault();
}

Service::Reply Player::answer(std::string_view request) {
    while (is_next("")) // a connection that is still there
        ++next_;
    if (!is_next(request)) {
        const bool begins = request == "hello";
        if (!begins || !at_end())
            replay_.astray(request, at_end() ? "" : replay_.exchanges[next_].request);
        if (begins)
            next_ = 0;
    }
    while (is_next(""))
        ++next_;
    if (!is_next(request))
        return {.answer = {.body = error_document("2.1", {"ERR_UNSUPPORTED_REQUEST",
                                                          "The recording goes another way"})}};
    const RecordedExchange &exchange = replay_.exchanges[next_++];
    return {.answer = {.status = exchange.status,
                       .headers = {{"Set-Cookie", session_cookie}},
                       .body = exchange.body},
            .fault = exchange.fault};
}

} // namespace broker_sim
