#include "transport/proxy/digest.h"

#include "transport/http_framing.h"
#include "utils/src/ascii.h"
#include "utils/src/openssl_handles.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <initializer_list>
#include <span>

namespace kavro {

namespace {

struct AlgorithmRow {
    const char *name;
    const EVP_MD *(*hash)();
    bool session; ///< the first hash covers both nonces as well
};

/// The weakest first.
constexpr AlgorithmRow algorithms[] = {
    {"MD5", EVP_md5, false},
    {"MD5-sess", EVP_md5, true},
    {"SHA-256", EVP_sha256, false},
    {"SHA-256-sess", EVP_sha256, true},
};

const AlgorithmRow *algorithm_of(const Challenge &challenge) {
    const std::string_view given = challenge.parameter("algorithm");
    const std::string_view name = given.empty() ? "MD5" : given;
    const auto *const row = std::ranges::find_if(algorithms, [name](const AlgorithmRow &known) {
        return ascii::equal_ignoring_case(name, known.name);
    });
    return row != std::end(algorithms) ? row : nullptr;
}

/// The hash over texts with colons between, in hexadecimal digits.
SecureText hash(const AlgorithmRow &algorithm, std::initializer_list<std::string_view> texts) {
    SecureText joined;
    for (const char *colon = ""; const std::string_view text : texts) {
        joined.append(colon).append(text);
        colon = ":";
    }
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned size = 0;
    if (EVP_Digest(joined.data(), joined.size(), digest.data(), &size, algorithm.hash(), nullptr) !=
        1)
        throw_openssl_error("EVP_Digest");
    wipe(joined);
    for (const unsigned char byte : std::span(digest).first(size)) {
        joined += "0123456789abcdef"[byte >> 4];
        joined += "0123456789abcdef"[byte & 0xF];
    }
    return joined;
}

void add(SecureText &answer, std::string_view name, std::string_view value) {
    answer.append(answer.ends_with(' ') ? "" : ", ").append(name).append("=").append(value);
}

void add_quoted(SecureText &answer, std::string_view name, std::string_view value) {
    add(answer, name, "\"");
    for (const char c : value) {
        if (c == '"' || c == '\\')
            answer += '\\';
        answer += c;
    }
    answer += '"';
}

} // namespace

int strength_of(const Challenge &challenge) {
    const auto *const algorithm = algorithm_of(challenge);
    const std::string_view protection = challenge.parameter("qop");
    if (algorithm == nullptr || (!protection.empty() && !lists(protection, "auth")))
        return 0;
    return static_cast<int>(algorithm - algorithms) + 1;
}

SecureText digest_answer(const Challenge &challenge, const DigestInput &input) {
    const AlgorithmRow &algorithm = *algorithm_of(challenge);
    const auto realm = challenge.parameter("realm"), nonce = challenge.parameter("nonce");
    const bool protects = !challenge.parameter("qop").empty();
    std::array<char, 9> count{};
    std::snprintf(count.data(), count.size(), "%08x", input.nonce_count);

    SecureText secret = hash(algorithm, {input.user, realm, input.password});
    if (algorithm.session)
        secret = hash(algorithm, {secret, nonce, input.client_nonce});
    const SecureText request = hash(algorithm, {input.method, input.uri});
    const SecureText response =
        protects
            ? hash(algorithm, {secret, nonce, count.data(), input.client_nonce, "auth", request})
            : hash(algorithm, {secret, nonce, request});

    const bool hides_user = ascii::equal_ignoring_case(challenge.parameter("userhash"), "true");
    const SecureText hidden = hides_user ? hash(algorithm, {input.user, realm}) : SecureText();
    SecureText answer = "Digest ";
    add_quoted(answer, "username", hides_user ? std::string_view(hidden) : input.user);
    add_quoted(answer, "realm", realm);
    add_quoted(answer, "nonce", nonce);
    add_quoted(answer, "uri", input.uri);
    add_quoted(answer, "response", response);
    if (const auto given = challenge.parameter("algorithm"); !given.empty())
        add(answer, "algorithm", algorithm.name);
    if (const auto opaque = challenge.parameter("opaque"); !opaque.empty())
        add_quoted(answer, "opaque", opaque);
    if (hides_user)
        add(answer, "userhash", "true");
    if (protects) {
        add(answer, "qop", "auth");
        add(answer, "nc", count.data());
    }
    if (protects || algorithm.session)
        add_quoted(answer, "cnonce", input.client_nonce);
    return answer;
}

} // namespace kavro
