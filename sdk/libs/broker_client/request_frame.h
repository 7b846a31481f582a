#pragma once

#include "broker_client_impl.h"
#include "utils/src/assertion.h"

#include <utility>

// The frame that every request runs in: introduce the client when that is due, open a connection,
// ask, wait, close. Each of these waits runs the protocol client on the caller's thread.

namespace kavro {

/// A completion handler: stores the step's result, and what came with it in the given members.
/// `name` is the handler's name in the log.
template <class... Payload>
auto completion(broker_client_impl *handle, const char *name,
                Payload broker_client_impl::*...members) {
    return [=](const BrokerResult &result, Payload... payload) {
        broker_assert(handle != nullptr, name);
        handle->result = result;
        ((handle->*members = std::move(payload)), ...);
    };
}

/// Runs one step of the conversation: `start` starts an operation of the protocol client whose
/// handler is a completion(). The outcome is in `handle.result`; it is `without_answer` when the
/// handler was never called, and "cancelled" whenever the request was.
void run_step(broker_client_impl &handle, eERROR_CODE without_answer,
              const std::function<void(iBROKER_CLIENT &)> &start);

/// The public code of the last step; the message of a failure is kept for the caller.
kavro_broker_result conclude(broker_client_impl &handle);

/// Opens the connection; on a refused default port once more on the second one.
kavro_broker_result broker_connection_opens(broker_client_impl *handle);

void broker_connection_closes(broker_client_impl *handle);

/// Introduces the client unless the broker knows it already.
kavro_broker_result send_hello_if_necessary(broker_client_impl *handle);

/// A whole request, from the introduction to the closed connection.
kavro_broker_result run_request(broker_client_impl &handle,
                                const std::function<void(iBROKER_CLIENT &)> &start);

/// Says good-bye to a broker that was ever greeted, and forgets the introduction.
kavro_broker_result end_session(broker_client_impl &handle);

} // namespace kavro
