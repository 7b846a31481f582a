#include "contender.h"

#include <fmt/format.h>

#include <algorithm>
#include <ctime>
#include <exception>
#include <fstream>
#include <iostream>
#include <sstream>

namespace bench {

namespace {

double microseconds(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}

/// The highest memory that this process ever had.
long peak_kilobytes() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.starts_with("VmHWM:"))
            return std::stol(line.substr(line.find_first_of("0123456789")));
    }
    return 0;
}

/// FNV-1a over all records in their order: contenders that agree give the same number.
std::uint64_t digest_of(const std::vector<Desktop> &desktops) {
    std::uint64_t digest = 14695981039346656037U;
    const auto add = [&digest](const std::string &text) {
        for (const unsigned char c : text)
            digest = (digest ^ c) * 1099511628211U;
        digest = (digest ^ 0xFFU) * 1099511628211U;
    };
    for (const Desktop &desktop : desktops) {
        for (const auto *text :
             {&desktop.name, &desktop.id, &desktop.type, &desktop.state, &desktop.health})
            add(*text);
        add(desktop.restart_allowed ? "yes" : "no");
    }
    return digest;
}

/// Runs some work, and tells what CPU time it took.
template <class Work>
double cpu_of(Work work) {
    const double before = microseconds(CLOCK_PROCESS_CPUTIME_ID);
    work();
    return microseconds(CLOCK_PROCESS_CPUTIME_ID) - before;
}

void perform(Contender &contender, const std::string &kind, int count) {
    const bool kept = kind == "kept";
    if (kept) {
        contender.keep_connection(true);
        contender.hello_and_operation(); // which makes it
    }
    const int exchanges = kept || kind == "small" ? 2 * count : count;
    std::vector<Desktop> desktops;
    double copying = 0;
    const double wall_before = microseconds(CLOCK_MONOTONIC);
    const double cpu = cpu_of([&] {
        for (int i = 0; i < count; ++i) {
            if (kind == "log-in")
                contender.log_in();
            else if (kind == "list" || kind == "fetch")
                contender.list();
            else
                contender.hello_and_operation();
            if (kind == "list")
                copying += cpu_of([&] { desktops = contender.desktops(); });
        }
    });
    const double wall = microseconds(CLOCK_MONOTONIC) - wall_before;
    if (kept)
        contender.keep_connection(false);
    std::cout << fmt::format("{{\"cpu_us\": {:.2f}, \"wall_us\": {:.2f}, \"copy_us\": {:.2f}, "
                             "\"peak_kb\": {}, \"desktops\": {}, \"digest\": \"{:x}\"}}\n",
                             cpu / exchanges, wall / exchanges, copying / exchanges,
                             peak_kilobytes(), desktops.size(), digest_of(desktops))
              << std::flush;
}

} // namespace

int run_contender(int argc, char **argv,
                  const std::function<std::unique_ptr<Contender>(const Setup &)> &make) try {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() < 2) {
        std::cerr << "usage: PROGRAM PORT TRUST_FILE [--no-log]\n";
        return 2;
    }
    const auto contender =
        make({arguments[0], arguments[1], std::ranges::count(arguments, "--no-log") == 0});
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream words(line);
        std::string kind;
        int count = 1;
        words >> kind >> count;
        perform(*contender, kind, count);
    }
    return 0;
} catch (const std::exception &failure) {
    std::cerr << failure.what() << '\n';
    return 1;
}

} // namespace bench
