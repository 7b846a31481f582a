#pragma once

#include "requests.h"

#include <span>
#include <string>
#include <vector>

// Every request of the public interface, and every way in which the network can spoil it.

namespace hostile {

/// A request, and what makes it succeed.
struct Request {
    const char *name;
    kavro_broker_result (*send)(kavro_broker_handle);
    std::string answer; ///< the broker's; empty when the request is answered without asking
    kavro_broker_result well = KAVRO_BROKER_OK;
    bool fails = true;         ///< when the network does; a log-out is done all the same
    bool greets_after = false; ///< the next request begins with a hello
};

const std::vector<Request> &requests();
/// The one that shows that a handle is still good.
const Request &good_request();

enum class Ill { refuse, reset, fin, stall, truncated, garbage, broken_record };
/// Those of the consent are a proxy's.
enum class Phase {
    before_handshake,
    in_handshake,
    before_request,
    in_head,
    in_body,
    before_consent,
    in_consent
};

struct Case {
    const Request *request;
    Ill ill;
    Phase phase;
    bool by_proxy = false;
};

std::vector<Case> all_cases();

/// The shortest that an allocation can be given; all other requests have as long.
constexpr std::chrono::seconds deadline{1};

/// Runs the cases one after the other against a broker of their own, and after each a good request.
/// Whatever is not as expected fails the test.
void run_cases(const test_support::OwnedHandle &handle, std::span<const Case> faults);

} // namespace hostile
