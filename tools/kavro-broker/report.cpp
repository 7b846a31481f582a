#include "report.h"

#include "certificates.h"
#include "colour.h"
#include "display_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <ostream>

namespace kavro_cli {
namespace {

Json result_of(const Failure &failure) {
    return {{"code", failure.code ? Json(*failure.code) : Json()},
            {"name", failure.name},
            {"message", failure.detail.empty()
                            ? failure.words()
                            : fmt::format("{} {}", failure.words(), failure.detail)},
            {"broker_message", failure.broker_message},
            {"exit_status", static_cast<int>(failure.status)}};
}

/// Texts from the broker may be anything, so bytes that are no UTF-8 are replaced.
void print(const Json &object, std::ostream &out) {
    out << object.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

/// Whether the message comes with a failure that is found on this side of the connection.
bool is_from_here(const Failure &failure) {
    static constexpr kavro_broker_result found_here[] = {
        KAVRO_BROKER_ERR_HTTP_NOT_OK, KAVRO_BROKER_ERR_SESSION_PROVISION_TIMEOUT,
        KAVRO_BROKER_ERR_SESSION_PROVISION_SERVER_CONNECT_FAILED};
    return failure.status == ExitStatus::usage || failure.status == ExitStatus::unreachable ||
           failure.status == ExitStatus::untrusted ||
           std::ranges::find(found_here, failure.code) != std::end(found_here);
}

void print_words(const Failure &failure, const Surroundings &surroundings) {
    auto &err = surroundings.err;
    err << painted("kavro-broker:", Colour::red, surroundings.err_in_colour) << ' '
        << visible(failure.words());
    if (failure.code)
        err << fmt::format(" ({} {})", *failure.code, failure.name);
    err << '\n';
    if (!failure.detail.empty())
        err << failure.detail << '\n';
    print_certificates(failure.certificates, err);
    auto message = visible(failure.broker_message, Lines::many);
    message.erase(message.find_last_not_of('\n') + 1);
    if (!message.empty())
        err << (is_from_here(failure) ? "In detail: " : "The broker says: ") << message << '\n';
}

} // namespace

Json to_json(const BrokerInfo &broker) {
    return {{"address", broker.address},
            {"product", broker.product_name},
            {"version", broker.product_version},
            {"platform", broker.platform}};
}

Json reference_to(const Desktop &desktop) {
    return {{"id", desktop.id}, {"name", desktop.name}};
}

void report_success(const Json &findings, std::ostream &out) {
    report_result(Failure(KAVRO_BROKER_OK), findings, out);
}

void report_result(const Failure &result, const Json &findings, std::ostream &out) {
    Json object{{"result", result_of(result)}};
    object.update(findings);
    print(object, out);
}

void report_failure(const Failure &failure, bool json, const Surroundings &surroundings) {
    if (!json)
        return print_words(failure, surroundings);
    Json object{{"result", result_of(failure)}};
    if (!failure.certificates.empty())
        object["certificates"] = to_json(failure.certificates);
    print(object, surroundings.out);
}

void require_written(std::ostream &out) {
    if (!out.flush())
        throw Failure(ExitStatus::usage, "OUTPUT_FAILED", "The result could not be written.");
}

void warn(const std::string &text, const Surroundings &surroundings) {
    surroundings.err << painted("WARNING: " + text, Colour::red, surroundings.err_in_colour)
                     << '\n';
}

} // namespace kavro_cli
