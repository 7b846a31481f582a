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
    return stage_.compare_exchange_strong(expected, Stage::running);
}

void broker_client_impl::end_request() noexcept {
    stage_ = Stage::ending;
    // Whoever saw the request running is still at work. It waits for nothing, so neither does this
    // for long; a signal handler on this very thread comes and goes in between.
    while (cancellers_ != 0)
        std::this_thread::yield();
    cancelled_ = false;
    try {
        // A cancel that came too late is still queued there and must not reach the next request.
        protocol->run_io(false);
    } catch (...) {
        // Nothing is left that anybody waits for.
    }
    stage_ = Stage::idle;
    kavro::forget_registers();
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
