#include "conversation/silent_name_server.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <string>

namespace conversation {

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
    char replacement[] = "/tmp/silent-name-server-XXXXXX";
    const int file = mkstemp(replacement);
    if (file < 0)
        return false;
    close(file);
    const bool mounted =
        write_file(replacement, text) && mount(replacement, path, nullptr, MS_BIND, nullptr) == 0;
    unlink(replacement);
    return mounted;
}

} // namespace

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

} // namespace conversation
