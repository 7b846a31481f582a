#include "transport/proxy/challenge.h"

#include "utils/src/ascii.h"

#include <algorithm>
#include <optional>

namespace kavro {

namespace {

constexpr std::string_view blanks = " \t";

bool is_token_character(char c) {
    return ascii::is_alphanumeric(c) || std::string_view("!#$%&'*+-.^_`|~").find(c) != blanks.npos;
}

bool is_token68_character(char c) {
    return ascii::is_alphanumeric(c) || std::string_view("-._~+/").find(c) != blanks.npos;
}

class Reader {
public:
    explicit Reader(std::string_view text) : rest_(text) {}

    std::vector<Challenge> read() {
        std::vector<Challenge> challenges;
        while (true) {
            skip(" \t,"); // empty elements of a list are allowed
            const std::string_view word = take(is_token_character);
            if (word.empty())
                return challenges;
            const auto value = take_value();
            if (value && challenges.empty())
                return challenges;
            if (value) {
                challenges.back().parameters.emplace_back(word, *value);
                continue;
            }
            challenges.push_back({std::string(word), take_token68(), {}});
        }
    }

private:
    void skip(std::string_view characters) {
        rest_.remove_prefix(std::min(rest_.find_first_not_of(characters), rest_.size()));
    }

    template <class Is>
    std::string_view take(Is is) {
        const auto end = std::ranges::find_if_not(rest_, is);
        const auto taken = rest_.substr(0, static_cast<std::size_t>(end - rest_.begin()));
        rest_.remove_prefix(taken.size());
        return taken;
    }

    /// What stands behind an equals sign, if one follows.
    std::optional<std::string> take_value() {
        const std::string_view before = rest_;
        skip(blanks);
        if (!rest_.starts_with('=')) {
            rest_ = before;
            return std::nullopt;
        }
        rest_.remove_prefix(1);
        skip(blanks);
        return rest_.starts_with('"') ? take_quoted() : std::string(take(is_token_character));
    }

    /// RFC 9110 section 5.6.4; an end that is missing is at the end of the text.
    std::string take_quoted() {
        std::string value;
        for (rest_.remove_prefix(1); !rest_.empty(); rest_.remove_prefix(1)) {
            if (rest_.starts_with('"')) {
                rest_.remove_prefix(1);
                break;
            }
            if (rest_.starts_with('\\') && rest_.size() > 1)
                rest_.remove_prefix(1);
            value += rest_.front();
        }
        return value;
    }

    /// A text behind a scheme that is followed by the end or by a comma; else it is the name of a
    /// parameter, and stays.
    std::string take_token68() {
        skip(blanks);
        const std::string_view before = rest_;
        take(is_token68_character);
        skip("=");
        const std::string_view token = before.substr(0, before.size() - rest_.size());
        skip(blanks);
        if (rest_.empty() || rest_.starts_with(','))
            return std::string(token);
        rest_ = before;
        return {};
    }

    std::string_view rest_;
};

} // namespace

std::string_view Challenge::parameter(std::string_view name) const {
    const auto found = std::ranges::find_if(parameters, [name](const auto &parameter) {
        return ascii::equal_ignoring_case(parameter.first, name);
    });
    return found != parameters.end() ? std::string_view(found->second) : std::string_view();
}

std::vector<Challenge> parse_challenges(std::string_view text) {
    return Reader(text).read();
}

} // namespace kavro
