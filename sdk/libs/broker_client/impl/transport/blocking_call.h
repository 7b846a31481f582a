#pragma once

#include "transport/waiter.h"

#include <functional>
#include <memory>
#include <optional>
#include <type_traits>

namespace kavro {

/// Calls of the system that cannot be interrupted: to look up a name, to get a ticket.
///
/// Each runs on a thread of its own, which is left to run out unheard when it is abandoned. At most
/// 16 such threads exist in the process: with that many, further calls fail at once.
struct BlockingCall {
    static constexpr int max_abandoned = 16;

    /// Waits for the call for as long as the waiter has patience.
    /// @param call may outlive its caller, and so must all that it uses.
    /// @returns operation_aborted when the call was abandoned, resource_unavailable_try_again when
    /// too many are, no_memory when it threw or no thread could be started.
    static boost::system::error_code run(std::function<void()> call, Waiter &waiter);

    /// The call's answer; nothing when there is an error.
    template <class Call>
    static std::optional<std::invoke_result_t<Call>> ask(Call call, Waiter &waiter,
                                                         boost::system::error_code &error) {
        const auto answer = std::make_shared<std::optional<std::invoke_result_t<Call>>>();
        error = run([answer, call = std::move(call)] { answer->emplace(call()); }, waiter);
        return error ? std::nullopt : std::move(*answer);
    }
};

} // namespace kavro
