#pragma once

#include <chrono>
#include <string>

namespace kavro {

/// Who publishes the table of registration codes.
struct RegistrationService {
    std::string host; ///< empty when there is none
    std::string port = "443";
    std::chrono::milliseconds timeout{20000}; ///< for the whole download

    /// As the build was configured.
    static RegistrationService of_this_build();
};

/// Fetches the table of registration codes. The service must prove who it is.
class AwsRegcodeDownloader {
public:
    explicit AwsRegcodeDownloader(RegistrationService service) : service_(std::move(service)) {}

    /// The table's text; empty when the service sends none.
    /// @throws std::runtime_error with the reason when it cannot be had, at the latest after the
    ///         service's time-out.
    std::string download() const;

private:
    const RegistrationService service_;
};

} // namespace kavro
