#pragma once

#include "records.h"

#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

/// The library's interface over a broker that does what a test told it to.
namespace fake {

struct Broker {
    /// What it wants, one after the other; each accepted answer takes the first one off.
    std::deque<uint32_t> methods;

    /// What the next calls of a request return, by the first word of what is noted of it; 0 when
    /// there is nothing (any more).
    std::map<std::string, std::deque<kavro_broker_result>> results;

    /// Called inside of every request.
    std::function<void(const std::string &request)> during = [](const std::string &) {};

    std::vector<std::string> domains{"EXAMPLE"};
    std::string disclaimer, message;
    kavro_broker::dialog dialog;
    std::vector<kavro_cli::Desktop> desktops;
    kavro_cli::Connection connection;
    std::vector<std::vector<uint8_t>> certificates; ///< in DER form
    uint32_t certificate_verdict = KAVRO_BROKER_CERTIFICATE_OTHER;
    bool greeted = false;
    uint32_t found_type = 0; ///< by a search; 0 for none
    kavro_broker_log_function log_function = nullptr;

    /// Sends a message to the log function.
    void log(int32_t category, int32_t severity, int32_t error, const char *format, ...) const;

    /// Every setting and request as it arrived, e.g. "password alice|EXAMPLE|secret".
    std::vector<std::string> noted;

    /// Those that begin with `word`.
    std::vector<std::string> noted_of(const std::string &word) const;
};

/// The broker behind every handle.
extern Broker broker;

} // namespace fake
