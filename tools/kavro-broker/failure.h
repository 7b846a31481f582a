#pragma once

#include "certificate.h"
#include "result_names.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace kavro_cli {

/// Why a command ends early. what() is one sentence in plain words.
class Failure : public std::runtime_error {
public:
    /// A result of the library, with the broker's own words where it sent any.
    explicit Failure(kavro_broker_result result, std::string message = {})
        : Failure(describe(result), std::move(message)) {}

    /// Something that this program found out itself.
    Failure(ExitStatus exit_status, std::string name_for_scripts, const std::string &sentence)
        : std::runtime_error(sentence), status(exit_status), name(std::move(name_for_scripts)) {}

    ExitStatus status;
    std::optional<kavro_broker_result> code;
    std::string name;
    std::string broker_message;
    std::string detail;                    ///< a second sentence, where there is more to tell
    std::vector<Certificate> certificates; ///< of a broker that is not trusted

private:
    Failure(const ResultName &result, std::string message)
        : std::runtime_error(result.sentence),
          status(result.status),
          code(result.code),
          name(result.name),
          broker_message(std::move(message)) {}
};

/// A library call that can only fail by a fault of this program or a lack of memory.
inline void require(kavro_broker_result result) {
    if (result != KAVRO_BROKER_OK)
        throw Failure(result);
}

} // namespace kavro_cli
