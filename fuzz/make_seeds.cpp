#include "minting.h"
#include "protocol/message_case.h"
#include "regcode/table_cache.h"
#include "staple.h"
#include "utils/src/cert_store_cache.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>

// Writes what the fuzzers start from, a folder for each: make_seeds FOLDER. The messages are those
// of the tests; the rest is made here, by the library itself where it can write it.

namespace {

namespace fs = std::filesystem;

/// Who reads the answer to a request, and by which byte `exchange` chooses that request.
struct Reader {
    const char *fuzzer;
    char operation;
};

const std::map<std::string, Reader, std::less<>> readers = {
    {"hello", {"hello", 0}},
    {"method", {"hello", 1}},
    {"password", {"authentication", 2}},
    {"dialog", {"authentication", 2}},
    {"oauth", {"authentication", 2}},
    {"disclaimer", {"authentication", 2}},
    {"update password", {"authentication", 2}},
    {"list", {"resource_list", 3}},
    {"allocate", {"allocation", 4}},
    {"operation", {"power_operation", 5}},
};

class Seeds {
public:
    explicit Seeds(fs::path folder) : folder_(std::move(folder)) { fs::remove_all(folder_); }

    void add(std::string_view fuzzer, std::string_view bytes) {
        const fs::path folder = folder_ / fuzzer;
        fs::create_directories(folder);
        std::ofstream(folder / std::to_string(++count_), std::ios::binary) << bytes;
    }

private:
    fs::path folder_;
    int count_ = 0;
};

std::string in_chunks(std::string_view body) {
    std::ostringstream chunks;
    for (; !body.empty(); body.remove_prefix(std::min<std::size_t>(body.size(), 100))) {
        const auto chunk = body.substr(0, 100);
        chunks << std::hex << chunk.size() << ";ext=1\r\n" << chunk << "\r\n";
    }
    return chunks.str() + "0\r\n\r\n";
}

/// What a provisioning server answers is a target, too.
std::string as_provisioned(std::string answer) {
    constexpr std::pair<std::string_view, std::string_view> names[] = {
        {"allocate-resource-resp", "session-provision-resp"},
        {"ALLOC_SUCCESSFUL", "SESSION_PROVISION_SUCCESSFUL"}};
    for (const auto &[from, to] : names) {
        for (auto at = answer.find(from); at != answer.npos; at = answer.find(from, at + to.size()))
            answer.replace(at, from.size(), to);
    }
    return answer;
}

void add_message(Seeds &seeds, const kavro::MessageCase &one) {
    seeds.add(readers.at(one.last("request")).fuzzer, one.answer);
    seeds.add("xml_document", one.answer);
    seeds.add("message_log", one.answer + "\x40\x01\x02");
    seeds.add("chunks", in_chunks(one.answer));
    seeds.add("http_response",
              "HTTP/1.1 200 OK\r\nSet-Cookie: JSESSIONID=abc; Path=/\r\nContent-Length: " +
                  std::to_string(one.answer.size()) + "\r\n\r\n" + one.answer);
    seeds.add("http_response",
              "HTTP/1.1 200\r\nTransfer-Encoding: chunked\r\n\r\n" + in_chunks(one.answer));
}

/// For the fuzzers that connect: few, because each takes them all before it begins.
void add_conversation(Seeds &seeds, const kavro::MessageCase &one) {
    const char operation = readers.at(one.last("request")).operation;
    if (one.last("request") == "allocate")
        seeds.add("provisioning", as_provisioned(one.answer));
    seeds.add("exchange", one.answer + '\1' + operation);
    // The answers to the hello and to what follows; the numbers behind them choose the exports.
    seeds.add("api", one.answer + "\\ " + one.answer + "\\ \\ " + std::string(16, operation));
}

void add_chains(Seeds &seeds) {
    using namespace test_support;
    const Identity between = authority(trusted_root());
    const Identity issued = server(between);
    const Identity alone[] = {self_signed(), self_signed({.key = "ec-p256"}),
                              self_signed({.names = {"broker.test"}}),
                              self_signed({.key = "rsa-1024"})};
    const auto add = [&seeds](const std::vector<Identity> &chain) {
        std::string bytes;
        for (const auto &identity : chain) {
            const auto der = der_of(identity);
            bytes.append(der.begin(), der.end());
        }
        seeds.add("certificate_chain", bytes);
    };
    std::string anchors;
    for (const auto &identity : alone) {
        add({identity});
        seeds.add("anchor_bundle", anchors += identity.certificate_pem());
    }
    add({issued, between, trusted_root()});
    add({server(trusted_root(), {.key = "ed25519"}), trusted_root()});
    add({issued, between});
    const auto leaf = der_of(issued), issuer = der_of(between);
    const std::string chain =
        std::string(leaf.begin(), leaf.end()).append(issuer.begin(), issuer.end());
    for (const int status : {V_OCSP_CERTSTATUS_GOOD, V_OCSP_CERTSTATUS_REVOKED})
        seeds.add("stapled_status", chain + staple(issued, between, between, {.status = status}));
}

void add_files(Seeds &seeds, const fs::path &folder) {
    const auto content = [](const fs::path &file) {
        std::ostringstream bytes;
        bytes << std::ifstream(file, std::ios::binary).rdbuf();
        return bytes.str();
    };
    kavro::CertStoreCache store(folder / "store");
    store.store("broker.test", test_support::trusted_root().certificate.get(), true);
    store.store("other.test", test_support::strange_root().certificate.get(), false);
    store.save();
    seeds.add("certificate_store", content(folder / "store"));

    const std::string table =
        R"({"SLiad":"https://a.test","eu":{"west":"b.test:443"},"n":[1,"\u00e9"]})";
    kavro::write_table_cache(folder, table);
    seeds.add("table_cache", content(folder / "conversion_table.dat"));
    for (const char *code : {"SLiad+ABC", "eu.west", "n"})
        seeds.add("registration_table", std::string(code) + "\\ " + table);
}

void add_proxies(Seeds &seeds) {
    using namespace std::string_literals;
    const std::string consent = "HTTP/1.1 200 OK\r\n\r\n",
                      wanted = "HTTP/1.1 407 No\r\nContent-Length: 2\r\nProxy-Authenticate: ";
    seeds.add("proxy_http", consent);
    for (const char *challenge :
         {"Basic realm=\"a\", NTLM", "Digest realm=\"r\", nonce=\"n\", qop=\"auth\", stale=true"})
        seeds.add("proxy_http", wanted + challenge + "\r\n\r\nno\n.\n" + consent);
    seeds.add("proxy_http",
              wanted + "NTLM\r\n\r\nno\n.\n" + wanted + "NTLM Z28gb24=\r\n\r\nno\n.\n" + consent);
    const std::string done = "\x05\x00\x00\x01\x01\x02\x03\x04\x00\x01"s;
    seeds.add("proxy_socks", "\x05\x00\n.\n"s + done);
    seeds.add("proxy_socks", "\x05\x02\n.\n\x01\x00\n.\n"s + done);
    seeds.add("proxy_socks", "\x05\x00\n.\n\x05\x04\n.\n\x05\x00\n.\n"s + done);
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        std::cerr << "usage: make_seeds FOLDER\n";
        return 2;
    }
    const fs::path folder = argv[1];
    Seeds seeds(folder);
    add_proxies(seeds);
    for (const auto &file : fs::directory_iterator(CASES_DIR)) {
        for (const auto &written : kavro::read_cases(file.path())) {
            const auto expanded = kavro::expand(written);
            for (const auto &one : expanded)
                add_message(seeds, one);
            add_conversation(seeds, expanded.front());
        }
    }
    for (const char *address : {"https://broker.test:443/x", "[2001:db8::1%eth0]:60443", "10.0.0.1",
                                "http://[::1]", "::ffff:1.2.3.4"})
        seeds.add("address", address);
    seeds.add("escaping", "a<b>&amp;\"'c]]>");
    for (const char *cookies : {"a=b; Path=/", "a=b;\nc=d=e; x=y\n=;", "a=b", "x; a=b;"})
        seeds.add("cookies", cookies);
    add_chains(seeds);
    add_files(seeds, folder);
}
