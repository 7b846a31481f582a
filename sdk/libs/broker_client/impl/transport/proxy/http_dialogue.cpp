#include "transport/http_framing.h"
#include "transport/proxy/proxy_dialogue.h"
#include "transport/proxy/proxy_log_in.h"
#include "utils/src/ascii.h"

#include <algorithm>
#include <cstring>
#include <optional>

namespace kavro {

using ascii::equal_ignoring_case;
using ascii::starts_ignoring_case;

namespace {

constexpr int log_in_wanted = 407;

constexpr HttpRules connect_rules = {.body_bytes = HttpLimits::head_bytes,
                                     .unstated_length = UnstatedLength::no_body,
                                     .http_1_0 = true,
                                     .length_in_any_case = true,
                                     .opens_tunnel = true};

/// What a 407 says besides.
struct LogInWanted {
    std::vector<Challenge> challenges;
    bool closes = false;

    explicit LogInWanted(std::string_view head) {
        closes = starts_ignoring_case(head, "HTTP/1.0");
        while (!head.empty()) {
            const std::string_view line = head.substr(0, head.find('\r'));
            read(line);
            head.remove_prefix(std::min(line.size() + 2, head.size()));
        }
    }

private:
    void read(std::string_view line) {
        const std::string_view name = line.substr(0, line.find(':'));
        const std::string_view value = line.substr(std::min(name.size() + 1, line.size()));
        if (equal_ignoring_case(name, "Proxy-Authenticate"))
            std::ranges::move(parse_challenges(value), std::back_inserter(challenges));
        // The older name is not in any standard, but proxies say it.
        if (!equal_ignoring_case(name, "Connection") &&
            !equal_ignoring_case(name, "Proxy-Connection"))
            return;
        if (lists(value, "close"))
            closes = true;
        else if (lists(value, "keep-alive"))
            closes = false;
    }
};

/// CONNECT (RFC 9110 section 9.3.6).
class HttpDialogue final : public ProxyDialogue {
public:
    HttpDialogue(const Proxy &proxy, const Peer &target, const Tickets &tickets)
        : target_(authority_of(target)), log_in_(proxy, target_, tickets) {}
    ~HttpDialogue() override { wipe(authorization_); }

    Next connected() override {
        answer_.reset();
        used_before_ = false;
        return ask();
    }

    Next received(std::string_view bytes) override {
        auto state = HttpResponseParser::State::need_more;
        while (!bytes.empty() && state == HttpResponseParser::State::need_more) {
            const auto space = answer_->space();
            const std::size_t piece = std::min(space.size, bytes.size());
            std::memcpy(space.data, bytes.data(), piece);
            state = answer_->received(piece);
            early_bytes_ = bytes.substr(piece);
            bytes.remove_prefix(piece);
        }
        if (state == HttpResponseParser::State::need_more)
            return Next::read;
        status_ = answer_->status();
        return answered(state == HttpResponseParser::State::complete);
    }

    /// A connection that was kept for the log-in may have been given up meanwhile.
    Next ended() override {
        if (used_before_ && answer_->rest().empty() && answer_->in_head())
            return Next::reconnect;
        status_ = answer_->status();
        return status_ == log_in_wanted ? answered(false)
                                        : refused("the proxy ended the connection");
    }

private:
    Next ask() {
        wipe(request_);
        request_.reserve(2 * target_.size() + authorization_.size() + 128);
        request_.append("CONNECT ").append(target_).append(" HTTP/1.1\r\nHost: ");
        request_.append(target_).append("\r\n");
        if (!authorization_.empty())
            request_.append("Proxy-Authorization: ").append(authorization_).append("\r\n");
        request_.append("\r\n");
        answer_.emplace(no_cookies_, connect_rules);
        return Next::send;
    }

    /// @param whole the answer was read to its end.
    Next answered(bool whole) {
        if (status_ / 100 == 2 && whole) {
            early_bytes_.insert(0, answer_->rest());
            return Next::open;
        }
        if (status_ != log_in_wanted)
            return refused(status_ == 0
                               ? "the proxy's answer is mangled: " + std::string(answer_->reason())
                               : "the proxy answered HTTP status " + std::to_string(status_));
        const LogInWanted wanted(answer_->head());
        auto authorization = log_in_.answer(wanted.challenges);
        if (!authorization)
            return wants_log_in(!authorization_.empty(), log_in_.reasons());
        wipe(authorization_);
        authorization_ = std::move(*authorization);
        if (!whole || wanted.closes || !answer_->has_length())
            return Next::reconnect;
        used_before_ = true;
        return ask();
    }

    const std::string target_;
    ProxyLogIn log_in_;
    SecureText authorization_;
    CookieTable no_cookies_;
    std::optional<HttpResponseParser> answer_;
    bool used_before_ = false; ///< the connection
};

} // namespace

std::unique_ptr<ProxyDialogue> http_dialogue(const Proxy &proxy, const Peer &target,
                                             const Tickets &tickets) {
    return std::make_unique<HttpDialogue>(proxy, target, tickets);
}

} // namespace kavro
