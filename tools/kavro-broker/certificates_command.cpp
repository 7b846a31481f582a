#include "certificates.h"
#include "command.h"
#include "report.h"

#include <ostream>

namespace kavro_cli {
namespace {

/// Shows the chain whether it is trusted or not; what is wrong with it is also the exit status.
void run(Session &session, const Options &options, const Surroundings &surroundings) {
    session.auth_method();
    const auto certificates = session.certificates();
    session.log_out();
    if (options.json())
        report_success({{"certificates", to_json(certificates)}}, surroundings.out);
    else
        print_certificates(certificates, surroundings.out);
}

} // namespace

constexpr Command certificates_command{
    .name = "certificates",
    .summary = "Show the certificates by which the broker proves who it is",
    .description =
        "Shows the chain with its owners, validity, fingerprints and keys, and what is wrong with\n"
        "each certificate. Nothing secret is sent. A broker that is not trusted ends the command\n"
        "with status 3; its chain is shown on standard error then.\n\n"
        "Examples:\n"
        "  kavro-broker certificates --broker broker.example\n"
        "  kavro-broker certificates --broker broker.example --trust-anchor company-ca.pem --json",
    .run = run,
    .only_looks = true,
};

} // namespace kavro_cli
