#pragma once

#include "certificate.h"
#include "result_names.h"

#include <kavro_broker_records.hpp>

#include <functional>
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

    explicit Failure(const kavro_broker::error &error)
        : Failure(error.code(), error.broker_text()) {}

    /// Something that this program found out itself.
    Failure(ExitStatus exit_status, std::string name_for_scripts, const std::string &sentence)
        : std::runtime_error(sentence), status(exit_status), name(std::move(name_for_scripts)) {}

    /// All but the last sentence.
    std::string words() const { return before.empty() ? what() : before + " " + what(); }

    ExitStatus status;
    std::optional<kavro_broker_result> code;
    std::string name;
    std::string broker_message;
    std::string before;                    ///< a sentence that comes first, where there is one
    std::string detail;                    ///< and one that comes last
    std::vector<Certificate> certificates; ///< of a broker that is not trusted

private:
    Failure(const ResultName &result, std::string message)
        : std::runtime_error(result.sentence),
          status(result.status),
          code(result.code),
          name(result.name),
          broker_message(std::move(message)),
          detail(result.advice) {}
};

/// Ends the program with a status when the command itself has told everything.
struct Told {
    ExitStatus status;
};

/// Does something and returns how it failed, if it did, whoever found that out.
inline std::optional<Failure> failure_of(const std::function<void()> &work) {
    try {
        work();
        return std::nullopt;
    } catch (const Failure &failure) {
        return failure;
    } catch (const kavro_broker::error &error) {
        return Failure(error);
    } catch (const std::exception &error) {
        return Failure(ExitStatus::usage, "LOCAL_PROBLEM", error.what());
    }
}

} // namespace kavro_cli
