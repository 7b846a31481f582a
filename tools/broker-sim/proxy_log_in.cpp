#include "proxy_log_in.h"

#include <boost/algorithm/string/predicate.hpp>
#include <openssl/evp.h>

#include <algorithm>
#include <regex>

namespace broker_sim {
namespace {

enum class Verdict { refused, stale, admitted };

/// What a request says in its field Proxy-Authorization.
struct LogIn {
    std::string scheme;
    std::string token;                             ///< in the place of parameters
    std::map<std::string, std::string> parameters; ///< without their quotation marks
    std::string_view method, target;               ///< of the request

    std::string at(const char *name) const {
        const auto found = parameters.find(name);
        return found == parameters.end() ? "" : found->second;
    }
};

LogIn read_log_in(const HttpRequest &request) {
    static const std::regex parameter(R"re((\w+)\s*=\s*(?:"([^"]*)"|([^",\s]+)))re");
    const std::string &text = request.proxy_authorization;
    const std::size_t blank = std::min(text.find(' '), text.size());
    LogIn log_in{.scheme = text.substr(0, blank),
                 .token = text.substr(std::min(blank + 1, text.size())),
                 .parameters = {},
                 .method = request.method,
                 .target = request.target};
    for (std::sregex_iterator match(text.begin(), text.end(), parameter), end; match != end;
         ++match)
        log_in.parameters.emplace((*match)[1], (*match)[2].str() + (*match)[3].str());
    return log_in;
}

std::string decoded_base64(const std::string &text) {
    std::string bytes(text.size(), '\0');
    const int size = EVP_DecodeBlock(reinterpret_cast<unsigned char *>(bytes.data()),
                                     reinterpret_cast<const unsigned char *>(text.data()),
                                     static_cast<int>(text.size()));
    const auto padding = std::ranges::count(text, '=');
    bytes.resize(static_cast<std::size_t>(std::max<std::ptrdiff_t>(size - padding, 0)));
    return bytes;
}

std::string hash(const EVP_MD *function, const std::string &text) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned size = 0;
    EVP_Digest(text.data(), text.size(), digest, &size, function, nullptr);
    static constexpr char digits[] = "0123456789abcdef";
    std::string hex;
    for (unsigned i = 0; i < size; ++i)
        hex.append({digits[digest[i] / 16], digits[digest[i] % 16]});
    return hex;
}

/// RFC 7616 section 3.4.1.
std::string digest_response(const LogIn &log_in, const std::string &password) {
    const EVP_MD *const function = log_in.at("algorithm") == "MD5" ? EVP_md5() : EVP_sha256();
    const auto is = [&](const std::string &text) { return hash(function, text); };
    return is(is(log_in.at("username") + ':' + log_in.at("realm") + ':' + password) + ':' +
              log_in.at("nonce") + ':' + log_in.at("nc") + ':' + log_in.at("cnonce") + ':' +
              log_in.at("qop") + ':' +
              is(std::string(log_in.method) + ':' + std::string(log_in.target)));
}

Verdict by_basic(const Proxy &proxy, ProxyState &, const LogIn &log_in) {
    const std::string text = decoded_base64(log_in.token);
    const std::size_t colon = text.find(':');
    const bool known =
        colon != text.npos && knows_user(proxy, text.substr(0, colon), text.substr(colon + 1));
    return known ? Verdict::admitted : Verdict::refused;
}

Verdict by_digest(const Proxy &proxy, ProxyState &state, const LogIn &log_in) {
    const auto user = std::ranges::find(proxy.users, log_in.at("username"), &ProxyUser::username);
    if (user == proxy.users.end() || log_in.at("uri") != log_in.target ||
        log_in.at("response") != digest_response(log_in, user->password))
        return Verdict::refused;
    if (log_in.at("nonce") != state.nonce)
        return Verdict::stale;
    if (++state.nonce_used == proxy.nonce_uses)
        state.nonce.clear();
    return Verdict::admitted;
}

/// For these the simulator has no tickets.
Verdict by_nothing(const Proxy &, ProxyState &, const LogIn &) {
    return Verdict::refused;
}

struct Scheme {
    std::string_view word; ///< in the scenario
    std::string_view name; ///< in HTTP
    std::string_view parameters;
    Verdict (*judge)(const Proxy &, ProxyState &, const LogIn &);
};

constexpr Scheme schemes[] = {
    {"basic", "Basic", R"( realm="simulator", charset="UTF-8")", by_basic},
    {"digest", "Digest", R"( realm="simulator", qop="auth", algorithm=SHA-256)", by_digest},
    {"digest-md5", "Digest", R"( realm="simulator", qop="auth", algorithm=MD5)", by_digest},
    {"negotiate", "Negotiate", "", by_nothing},
    {"ntlm", "NTLM", "", by_nothing},
};

const Scheme &scheme_of(std::string_view word) {
    return *std::ranges::find(schemes, word, &Scheme::word);
}

Verdict judge(const Proxy &proxy, ProxyState &state, const HttpRequest &request) {
    if (proxy.log_in.empty() || !request.proxy_user.empty())
        return Verdict::admitted;
    const LogIn log_in = read_log_in(request);
    const auto offered = std::ranges::find_if(proxy.log_in, [&](const std::string &word) {
        const auto &[_, name, parameters, judge] = scheme_of(word);
        return boost::iequals(name, log_in.scheme) &&
               parameters.find(log_in.at("algorithm")) != parameters.npos;
    });
    return offered == proxy.log_in.end() ? Verdict::refused
                                         : scheme_of(*offered).judge(proxy, state, log_in);
}

std::string challenge(const Scheme &scheme, const ProxyState &state, bool stale) {
    std::string text = std::string(scheme.name) + std::string(scheme.parameters);
    if (scheme.judge == by_digest)
        text += ", nonce=\"" + state.nonce + (stale ? "\", stale=true" : "\"");
    return text;
}

} // namespace

bool is_proxy_log_in(std::string_view word) {
    return std::ranges::find(schemes, word, &Scheme::word) != std::end(schemes);
}

bool knows_user(const Proxy &proxy, std::string_view username, std::string_view password) {
    return std::ranges::any_of(proxy.users, [&](const ProxyUser &user) {
        return user.username == username && user.password == password;
    });
}

std::string proxy_user_of(const HttpRequest &request) {
    if (!request.proxy_user.empty())
        return request.proxy_user;
    const LogIn log_in = read_log_in(request);
    if (boost::iequals(log_in.scheme, "basic")) {
        const std::string text = decoded_base64(log_in.token);
        return text.substr(0, text.find(':'));
    }
    return log_in.at("username");
}

HttpAnswer admit(const Proxy &proxy, ProxyState &state, const HttpRequest &request) {
    const Verdict verdict = judge(proxy, state, request);
    if (verdict == Verdict::admitted)
        return {.tunnel = true};
    if (state.nonce.empty()) {
        state.nonce = random_id();
        state.nonce_used = 0;
    }
    HttpAnswer answer{.status = 407,
                      .headers = {{"Content-Type", "text/html"}},
                      .body = "<html><body>The proxy wants a log-in.</body></html>\n"};
    for (const std::string &word : proxy.log_in)
        answer.headers.emplace_back("Proxy-Authenticate",
                                    challenge(scheme_of(word), state, verdict == Verdict::stale));
    return answer;
}

} // namespace broker_sim
