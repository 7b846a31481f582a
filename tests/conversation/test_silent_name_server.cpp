#include "conversation/short_deadlines.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

using namespace conversation;

namespace {

bool write_file(const char *path, const std::string &text) {
    std::ofstream file(path);
    file << text;
    return file.flush().good();
}

bool bring_loopback_up() {
    const int control = socket(AF_INET, SOCK_DGRAM, 0);
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    request.ifr_flags = IFF_UP | IFF_RUNNING;
    const bool up = ioctl(control, SIOCSIFFLAGS, &request) == 0;
    close(control);
    return up;
}

/// Stays open to the end of the process, so that questions are taken rather than refused.
bool listen_and_stay_silent() {
    const int server = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(53);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return bind(server, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
}

bool replace_file(const char *path, const std::string &text) {
    auto replacement =
        (std::filesystem::temp_directory_path() / "silent-name-server-XXXXXX").string();
    const int file = mkstemp(replacement.data());
    if (file < 0)
        return false;
    close(file);
    const bool mounted = write_file(replacement.c_str(), text) &&
                         mount(replacement.c_str(), path, nullptr, MS_BIND, nullptr) == 0;
    unlink(replacement.c_str());
    return mounted;
}

/// Puts the calling process into network and mount namespaces of its own, in which the only name
/// server takes every question and never answers. For a process that will do nothing else.
/// False when the system does not let it.
bool enter_world_with_silent_name_server() {
    const auto user = std::to_string(getuid());
    const auto group = std::to_string(getgid());
    if (unshare(CLONE_NEWUSER | CLONE_NEWNET | CLONE_NEWNS) != 0)
        return false;
    write_file("/proc/self/setgroups", "deny");
    return write_file("/proc/self/uid_map", "0 " + user + " 1") &&
           write_file("/proc/self/gid_map", "0 " + group + " 1") &&
           mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 && bring_loopback_up() &&
           listen_and_stay_silent() &&
           replace_file("/etc/resolv.conf",
                        "nameserver 127.0.0.1\noptions timeout:30 attempts:5\n") &&
           replace_file("/etc/nsswitch.conf", "hosts: dns\n");
}

/// Runs in a child process, because the world that it enters has no way back. The exit status says
/// what went wrong.
int ask_a_silent_name_server() {
    constexpr auto deadline = 500ms;
    kavro_broker_handle handle = handle_with_deadline(deadline);
    kavro_broker_set_client_info(handle, "test", "1", "Linux");
    kavro_broker_set_broker_address(handle, "broker.test", "443");
    uint32_t method = 0;
    auto start = Clock::now();
    if (kavro_broker_get_auth_method(handle, &method) != KAVRO_BROKER_ERR_TIMEOUT)
        return 1;
    if (since(start) < deadline || since(start) > deadline + margin)
        return 2;

    kavro_broker_result cancelled = 0;
    std::thread request([&] { cancelled = kavro_broker_get_auth_method(handle, &method); });
    while (Log::text().find("Deadline Timer timeout set", Log::text().find("expired")) ==
           std::string::npos)
        std::this_thread::yield(); // until the second look-up is under way
    start = Clock::now();
    kavro_broker_cancel(handle);
    request.join();
    if (cancelled != KAVRO_BROKER_ERR_CANCELLED || since(start) > margin)
        return 3;

    start = Clock::now();
    kavro_broker_free(handle);
    return since(start) < 200ms ? 0 : 4;
}

constexpr int no_such_world = 99;

/// In a chroot, or in a container without the right to it, nobody enters namespaces.
bool well_or_left_out(int status) {
    const bool left_out = testing::ExitedWithCode(no_such_world)(status);
    if (left_out)
        std::cout << "left out: this system does not allow namespaces\n";
    return left_out || testing::ExitedWithCode(0)(status);
}

TEST(DeadlinesDeathTest, HoldWhenTheNameServerNeverAnswers) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        _exit(enter_world_with_silent_name_server() ? ask_a_silent_name_server() : no_such_world),
        well_or_left_out, "");
}

} // namespace
