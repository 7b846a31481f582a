#pragma once

#include "fuzzing.h"
#include "transport/proxy/proxy_dialogue.h"

#include <functional>
#include <random>

namespace fuzz {

using Next = kavro::ProxyDialogue::Next;

/// What came of a dialogue with a proxy.
struct Course {
    Next end = Next::send;
    std::string said, reason;
    int status = 0;

    bool operator==(const Course &) const = default;
};

inline const std::string secret = "canary-of-the-proxy";

/// Plays a proxy whose answers stand one behind the other, a line of its own with a dot between,
/// and come in pieces of these lengths. What is left of an answer when it was understood is
/// dropped.
inline Course play(kavro::ProxyDialogue &dialogue, std::string_view answers,
                   const std::function<std::size_t()> &next_length) {
    constexpr std::string_view mark = "\n.\n";
    Course course;
    Next next = dialogue.connected();
    for (int turns = 0; next == Next::send || next == Next::reconnect; ++turns) {
        promise(turns < 64, "no dialogue without end");
        if (next == Next::reconnect)
            next = dialogue.connected();
        // A nonce is made up anew each time, so only the start of what is said can be compared.
        course.said += std::string(dialogue.request()).substr(0, 64) + '\n';
        promise(turns > 0 || dialogue.request().find(secret) == kavro::SecureText::npos,
                "no secret before the proxy asks");
        std::string_view answer = answers.substr(0, answers.find(mark));
        answers.remove_prefix(std::min(answer.size() + mark.size(), answers.size()));
        for (next = Next::read; next == Next::read && !answer.empty();) {
            const auto piece = answer.substr(0, next_length());
            answer.remove_prefix(piece.size());
            next = dialogue.received(piece);
        }
        if (next == Next::read)
            next = dialogue.ended();
    }
    course.end = next;
    course.reason = dialogue.reason();
    course.status = dialogue.status();
    return course;
}

/// The same in any pieces.
inline void compare_pieces(std::string_view answers,
                           std::unique_ptr<kavro::ProxyDialogue> (*make)()) {
    const Course whole = play(*make(), answers, [] { return std::size_t(1) << 20; });
    std::minstd_rand random(static_cast<unsigned>(std::hash<std::string_view>()(answers)));
    for (const unsigned most : {3, 50}) {
        const Course pieces = play(*make(), answers, [&] { return 1 + random() % most; });
        promise(pieces == whole, "the same in any pieces");
    }
}

/// Says whatever the proxy said, unless that is to have no ticket.
struct EchoingTokens final : kavro::Tokens {
    kavro::Expected<kavro::SecureText> next(const kavro::SecureText &received) override {
        if (received.starts_with("no"))
            return std::string("no ticket");
        return "token " + received;
    }
    bool are_by_password() const override { return true; }
};
inline std::unique_ptr<kavro::Tokens> echoing_tickets(const char *, const kavro::Proxy &) {
    return std::make_unique<EchoingTokens>();
}

inline const kavro::Proxy &proxy(const char *url) {
    static const kavro::ProxyHandle made = *kavro::parse_proxy(url, "ann", secret.c_str());
    return *made;
}

} // namespace fuzz
