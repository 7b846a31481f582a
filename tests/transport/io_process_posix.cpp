#include "io_client.h"
#include "io_names.h"
#include "probe/search.h"

#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

// What a client shares with its process: look-ups left behind, signals, descriptors.

namespace kavro {

namespace {

class ProcessTest : public TransportTest {
protected:
    const ScriptedPeer peer_{{{handshake()}}};
};

/// Whether all sockets of this process that lead to the port are closed when a program is started.
bool is_closed_on_exec(unsigned short port) {
    int found = 0, closed = 0;
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        sockaddr_in peer{};
        socklen_t size = sizeof peer;
        if (::getpeername(descriptor, reinterpret_cast<sockaddr *>(&peer), &size) != 0 ||
            ntohs(peer.sin_port) != port)
            continue;
        ++found;
        closed += (::fcntl(descriptor, F_GETFD) & FD_CLOEXEC) != 0;
    }
    return found > 0 && closed == found;
}

} // namespace

TEST_F(ProcessTest, LookUpsLeftBehindAreTheParentsAlone) {
    const SilentNames silent;
    abandon_lookups(silent);
    Names names;
    names.set("broker.test", {peer_.endpoint()});
    const pid_t child = ::fork();
    if (child == 0) {
        HttpsXmlClient client(names.lookup());
        ::_exit(static_cast<int>(connect(client, "broker.test:443").result.result));
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), static_cast<int>(ConnectCode::connected));
}

TEST_F(ProcessTest, HandlersOfTheProgramDoNotRunOnTheThreadOfALookUp) {
    const auto held_back = std::make_shared<std::atomic<bool>>(false);
    const NameResolver::BlockingLookup lookup =
        [held_back, endpoint = peer_.endpoint()](const auto &, const auto &, auto &) {
            sigset_t mask;
            pthread_sigmask(SIG_BLOCK, nullptr, &mask);
            *held_back = sigismember(&mask, SIGUSR1) == 1 && sigismember(&mask, SIGTERM) == 1;
            return NameResolver::Endpoints{endpoint};
        };
    Client client(lookup);
    EXPECT_EQ(connect(client, "broker.test:443").result.result, ConnectCode::connected);
    EXPECT_TRUE(*held_back);
    sigset_t mask;
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    EXPECT_EQ(sigismember(&mask, SIGUSR1), 0) << "on the caller's own thread";
}

#ifndef __SANITIZE_ADDRESS__ // whose companion needs descriptors itself, to look at objects
TEST_F(ProcessTest, ASearchThatGetsNoDescriptorSaysWhatTheSystemSays) {
    broker_query_impl finder;
    rlimit usual{};
    ::getrlimit(RLIMIT_NOFILE, &usual);
    const rlimit none{0, usual.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &none);
    const std::string found = find(finder, "127.0.0.1", peer_.port());
    ::setrlimit(RLIMIT_NOFILE, &usual);
    EXPECT_EQ(found, "205");
}
#endif

TEST_F(ProcessTest, NoProgramInheritsTheSocketOfARequest) {
    Client client;
    EXPECT_EQ(connect(client, peer_.address()).result.result, ConnectCode::connected);
    EXPECT_TRUE(is_closed_on_exec(peer_.endpoint().port()));
}

} // namespace kavro
