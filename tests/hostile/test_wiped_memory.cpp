#include "broker_sim.h"
#include "captured_log.h"
#include "hostile/failing_allocation.h"
#include "hostile/masked_text.h"
#include "hostile/rounds.h"
#include "kavro_broker_extras.h"
#include "support/requests.h"
#include "support/scripted_peer.h"

#include <openssl/crypto.h>

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace test_support;
using namespace std::chrono_literals;
using broker_sim::Ending;
using broker_sim::Scenario;
using hostile::MaskedText;

namespace {

/// A broker in a process of its own, so that what it knows is not in the memory that is searched.
class BrokerProcess {
public:
    explicit BrokerProcess(const std::function<Scenario()> &scenario) {
        if (pipe(ends_) != 0)
            throw std::runtime_error("no pipe");
        process_ = fork();
        if (process_ == 0)
            serve(scenario());
        std::string words;
        for (char c = 0; read(ends_[0], &c, 1) == 1 && c != '\0';)
            words += c;
        const auto line_end = words.find('\n');
        port = words.substr(0, line_end);
        authority = words.substr(line_end + 1);
    }
    ~BrokerProcess() {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
        close(ends_[0]);
        close(ends_[1]);
    }
    BrokerProcess(const BrokerProcess &) = delete;
    BrokerProcess &operator=(const BrokerProcess &) = delete;

    std::string port;
    std::string authority;

private:
    [[noreturn]] void serve(Scenario scenario) {
        prctl(PR_SET_PDEATHSIG, SIGKILL); // however the test ends
        const broker_sim::Simulator broker(std::move(scenario));
        const std::string words = std::to_string(broker.port()) + "\n" + broker.ca_pem();
        static_cast<void>(write(ends_[1], words.c_str(), words.size() + 1) == 0);
        for (;;)
            pause();
    }

    int ends_[2];
    pid_t process_ = -1;
};

const MaskedText password(1);
const MaskedText new_password(2);
const MaskedText oauth_code(3);

/// A secret in plain, wiped when it goes: all that the caller himself has of it.
class Plain {
public:
    explicit Plain(const MaskedText &secret) { secret.reveal(text_); }
    ~Plain() { OPENSSL_cleanse(text_, sizeof text_); }
    Plain(const Plain &) = delete;
    Plain &operator=(const Plain &) = delete;

    operator const char *() const { return text_; }

private:
    char text_[MaskedText::size + 1];
};

struct Row {
    const char *what;
    kavro_broker_result result; ///< of a password
    broker_sim::Fault fault{};
    std::string answer{}; ///< instead of the broker's own, when not empty
    const char *user = "alice";
    unsigned echoes = 0; ///< the status of an answer that says the password
};

Scenario scenario_of(const Row &row) {
    auto scenario = Scenario::demo();
    scenario.users = {{"alice", std::string(Plain(password)), "EXAMPLE"}};
    broker_sim::AuthenticationStep step;
    step.methods = {"password", "oauth"};
    step.oauth = {std::string(Plain(oauth_code)), "alice"};
    scenario.authentication = {step, step, step};
    for (const char *request : {"authenticate", "update-password"}) {
        scenario.faults.push_back(row.fault);
        scenario.faults.back().match.request = request;
    }
    broker_sim::Override answer;
    answer.match.request = "authenticate";
    if (!row.answer.empty())
        answer.raw = row.answer;
    answer.status = row.echoes;
    if (row.echoes != 0)
        answer.body =
            broker_message("<x><password>" + std::string(Plain(password)) + "</password></x>");
    scenario.overrides = {answer};
    return scenario;
}

std::vector<Row> rows() {
    constexpr auto mangled = KAVRO_BROKER_ERR_MANGLED_RESPONSE;
    constexpr auto lost = KAVRO_BROKER_ERR_SOCKET_OR_SYS_FAILURE;
    std::vector<Row> all = {
        {"all well", KAVRO_BROKER_OK},
        {"a request that is no XML", KAVRO_BROKER_ERR_PROTOCOL_GENERIC, {}, {}, "al<ice"},
        {"no HTTP", mangled, {}, "220 mail.test ESMTP\r\n\r\n"},
        {"no XML", mangled, {}, http_ok("<")},
        {"an answer that says the password", mangled, {}, {}, "alice", 200},
        {"wrong status", KAVRO_BROKER_ERR_HTTP_NOT_OK, {}, "HTTP/1.1 500 No\r\n\r\n"},
    };
    for (const std::size_t byte : {0, 20, 300}) {
        all.push_back(
            {"silence", KAVRO_BROKER_ERR_TIMEOUT, {.ending = Ending::stall, .at_byte = byte}});
        for (const auto ending : {Ending::fin, Ending::close, Ending::reset})
            all.push_back({"an answer cut short", lost, {.ending = ending, .at_byte = byte}});
    }
    return all;
}

/// After each request that carried a secret, memory is searched; the handle is still there.
void speak_secrets(Handle handle, const Row &row) {
    EXPECT_EQ(kavro_broker_send_password(handle, row.user, "EXAMPLE", Plain(password)), row.result);
    EXPECT_EQ(password.copies_in_memory(), 0u) << "password";
    kavro_broker_send_oauth_code(handle, Plain(oauth_code));
    EXPECT_EQ(oauth_code.copies_in_memory(), 0u) << "OAuth code";
    kavro_broker_send_new_password(handle, row.user, "EXAMPLE", Plain(password),
                                   Plain(new_password), Plain(new_password));
    EXPECT_EQ(new_password.copies_in_memory(), 0u) << "new password";
    EXPECT_EQ(password.copies_in_memory(), 0u) << "old password";
}

TEST(WipedMemory, TheSearchFindsWhatIsThere) {
    EXPECT_EQ(password.copies_in_memory(), 0u);
    const Plain plain(password);
    const std::string copy(plain);
    EXPECT_EQ(password.copies_in_memory(), 2 * MaskedText::size / 16);
}

/// A handle that talks to such a broker.
struct Talk {
    explicit Talk(const Row &row)
        : broker([&row] { return scenario_of(row); }),
          trust(broker.authority),
          handle(new_handle(300ms, broker.port)) {
        const kavro::CapturedLog log;
    }

    BrokerProcess broker;
    TrustedCa trust;
    OwnedHandle handle;
};

TEST(WipedMemory, HoldsNoSecretAfterARequest) {
    for (const Row &row : rows()) {
        SCOPED_TRACE(row.what);
        const Talk talk(row);
        speak_secrets(talk.handle.get(), row);
    }
}

TEST(WipedMemory, HoldsNoSecretAfterARequestThatRanOutOfMemory) {
    const Talk talk({"all well", KAVRO_BROKER_OK});
    const Plain plain(password);
    const std::size_t own = MaskedText::size / 16;
    const std::size_t step = hostile::takes_its_time() ? 1 : 7;
    int places = 0;
    bool happened = true;
    for (std::size_t nth = 1; happened; nth += step) {
        {
            const hostile::FailingAllocation failing(nth);
            kavro_broker_send_password(talk.handle.get(), "alice", "EXAMPLE", plain);
            happened = failing.happened();
        }
        places += password.copies_in_memory() != own;
    }
    EXPECT_LE(places, 1)
        << "of thousands, one allocation may fail inside the TLS library's writing";
}

/// A program in C that sends the password once, and waits.
class Caller {
public:
    Caller(const std::string &port, const char *cancels) {
        EXPECT_EQ(pipe2(to_, O_CLOEXEC) | pipe2(from_, O_CLOEXEC), 0);
        process = fork();
        if (process == 0) {
            dup2(to_[0], STDIN_FILENO);
            dup2(from_[1], STDOUT_FILENO);
            unsetenv("LD_BIND_NOW");
            execl(WIPED_CALLER, WIPED_CALLER, port.c_str(), cancels, nullptr);
            _exit(EXIT_FAILURE);
        }
        close(from_[1]);
        const Plain plain(password);
        EXPECT_EQ(write(to_[1], plain, MaskedText::size), MaskedText::size);
        EXPECT_EQ(read(from_[0], &result, sizeof result), sizeof result);
    }
    ~Caller() {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
        for (const int end : {to_[0], to_[1], from_[0]})
            close(end);
    }
    Caller(const Caller &) = delete;
    Caller &operator=(const Caller &) = delete;

    pid_t process = -1;
    kavro_broker_result result = KAVRO_BROKER_OK;

private:
    int to_[2];
    int from_[2];
};

TEST(WipedMemory, OfACallerHoldsNoneOfItEither) {
    const auto unanswered = broker_sim::Fault{.ending = Ending::stall};
    const Row rows[] = {
        {"answer", KAVRO_BROKER_ERR_AUTH_UNKNOWN_USERNAME_PASSWORD}, // it knows a shorter password
        {"reset", KAVRO_BROKER_ERR_SOCKET_OR_SYS_FAILURE, {.ending = Ending::reset}},
        {"cancel", KAVRO_BROKER_ERR_CANCELLED, unanswered},
        {"500", KAVRO_BROKER_ERR_HTTP_NOT_OK, {}, {}, "alice", 500},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.what);
        const BrokerProcess broker([&row] { return scenario_of(row); });
        const bool cancels = row.result == KAVRO_BROKER_ERR_CANCELLED;
        const Caller caller(broker.port, cancels ? "cancels" : nullptr);
        EXPECT_EQ(caller.result, row.result);
        EXPECT_EQ(password.copies_in_memory_of(caller.process), 0u);
    }
}

} // namespace
