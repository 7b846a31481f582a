#include "broker_client_impl.h"

#include "utils/src/assertion.h"
#include "utils/src/forget_registers.h"
#include "utils/src/system_trust.h"

#include <algorithm>
#include <thread>
#include <utility>

void broker_client_impl::create(std::uint32_t type, kavro::BrokerClientHandle client) {
    kavro::broker_assert(protocol == nullptr, "broker_client_impl::create");
    protocol = std::move(client);
    type_code = type;
    trust_anchors = kavro::system_trust_anchors();
    system_anchor_count_ = trust_anchors.size();
    if (system_anchor_count_ != 0)
        hand_over_trust_anchors();
}

void broker_client_impl::set_address(const char *broker_address, const char *broker_port) {
    const bool no_port = broker_port == nullptr || *broker_port == '\0';
    if (no_port && port_fallback && address == broker_address)
        return; // the port stays at which the broker was found
    const std::string wanted_port = no_port ? default_port : broker_port;
    if (address != broker_address || port != wanted_port)
        hello_completed = hello_still_valid = false;
    address = broker_address;
    port = wanted_port;
    port_fallback = no_port;
}

void broker_client_impl::keep_connection(std::chrono::seconds idle) {
    most_idle = idle;
    if (!keeps_connection() && stage_ == Stage::idle)
        protocol->clear_session();
}

void broker_client_impl::add_trust_anchor(kavro::Security::cX509_CERT_CHAIN::Der certificate) {
    trust_anchors.append_der(std::move(certificate));
    hand_over_trust_anchors();
}

void broker_client_impl::hand_over_trust_anchors() {
    const auto entry = [this](int index) -> const kavro::Security::cX509_CERT_CHAIN::Der & {
        return trust_anchors.entries()[static_cast<std::size_t>(index)];
    };
    protocol->set_certificate_extractor(
        {[this] { return static_cast<int>(trust_anchors.size()); },
         [entry](int index) { return static_cast<int>(entry(index).size()); },
         [entry](int index, std::uint8_t *der) {
             std::ranges::copy(entry(index), der);
             return true;
         },
         static_cast<int>(system_anchor_count_)});
}

bool broker_client_impl::begin_request() {
    Stage expected = Stage::idle;
    if (listener.hearing || !stage_.compare_exchange_strong(expected, Stage::running))
        return false;
    last_error_message.clear();
    report.begin();
    return true;
}

void broker_client_impl::end_request(kavro_broker_result code) noexcept {
    report.end(code);
    stage_ = Stage::ending;
    // A canceller that saw the request running is still at work. It waits for nothing, so this loop
    // is short; a signal handler on this very thread comes and goes within one turn of it.
    while (cancellers_ != 0)
        std::this_thread::yield();
    cancelled_ = false;
    run_out(); // a cancel that came too late must not reach the next request
    stage_ = Stage::idle;
    kavro::forget_registers();
}

void broker_client_impl::abandon_operation() noexcept {
    try {
        protocol->clear_session();
    } catch (...) { // a plug-in may throw anything
    }
    run_out();
}

void broker_client_impl::run_out() noexcept {
    constexpr int attempts = 100; // a handler that throws is off the queue; a plug-in's may return
    for (int i = 0; i < attempts; ++i) {
        try {
            return protocol->run_io(false);
        } catch (...) {
        }
    }
}

void broker_client_impl::cancel() noexcept {
    ++cancellers_;
    if (stage_ == Stage::running) {
        cancelled_ = true;
        try {
            protocol->cancel();
        } catch (...) { // a plug-in may throw anything; the frame looks at the flag as well
        }
    }
    --cancellers_;
}
