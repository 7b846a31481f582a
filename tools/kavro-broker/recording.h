#pragma once

#include "exchange_log.h"
#include "report.h"

#include <fstream>
#include <mutex>
#include <string>
#include <string_view>

namespace kavro_cli {

/// What passed between a command and the broker, in a file of the user's own: a JSON object in each
/// line, written as soon as a request is over. Secrets are masked as in the log.
class Recording {
public:
    /// Takes the place of an older file. Throws a Failure when it cannot be written.
    Recording(const std::string &path, const char *command);
    ~Recording();
    Recording(const Recording &) = delete;
    Recording &operator=(const Recording &) = delete;

    /// Writes what came of a request, with the library's report on it, if there is one.
    void request_ended(const std::string &report);

    /// Writes the last line. False when the file is not whole.
    bool command_ended(int exit_status);

private:
    void hear(std::string_view message);
    void write_requests(const Json &report);
    void write(const Json &line);

    std::mutex mutex_;
    recording::ExchangeLog log_;
    std::ofstream file_;
};

} // namespace kavro_cli
