#pragma once

#include "export_guard.h"

#include <utility>

// The frame that every request runs in: introduce the client when that is due, open a connection,
// ask, wait, close. Each of these waits runs the protocol client on the caller's thread. A step
// returns what it came to; the frame makes one public code of it at the end.

namespace kavro {

/// The public code of a request's outcome; the words of a failure are kept for the caller.
kavro_broker_result conclude(broker_client_impl &handle, const BrokerResult &outcome);

/// Runs `steps` as the one request of a handle, once it and all required arguments are there.
template <class Steps>
kavro_broker_result in_request(broker_client_impl *handle,
                               std::initializer_list<const void *> required, Steps steps,
                               const char *function = __builtin_FUNCTION()) noexcept {
    if (handle == nullptr || !all_given(required))
        return KAVRO_BROKER_ERR_INVALID_PARAMETER;
    if (!handle->begin_request())
        return KAVRO_BROKER_ERR_INVALID_STATE;
    const LogScope heard = log_scope(*handle);
    const kavro_broker_result code = guard([&] { return conclude(*handle, steps(*handle)); },
                                           function, &handle->last_error_message);
    handle->end_request(code);
    return code;
}

/// Has the protocol client perform one operation and waits for its end. `start(protocol, handler)`
/// starts it; what the handler gets besides the result goes into `brought`. Comes to
/// `without_answer` when the handler is never called, and to "cancelled" whenever the request was.
template <class Start, class... Brought>
BrokerResult perform(broker_client_impl &handle, eERROR_CODE without_answer, Start start,
                     Brought &...brought) {
    BrokerResult outcome{without_answer};
    if (!handle.cancelled()) {
        try {
            start(*handle.protocol, [&](const BrokerResult &result, Brought... values) {
                outcome = result;
                ((brought = std::move(values)), ...);
            });
            handle.protocol->run_io(true);
        } catch (...) {
            handle.abandon_operation();
            throw;
        }
    }
    return handle.cancelled() ? BrokerResult{ERROR_CODE_CANCELLED} : outcome;
}

/// Opens the connection; on a refused default port once more on the second one.
BrokerResult broker_connection_opens(broker_client_impl &handle);

/// Closes it without a word to the broker, or keeps it for the next request.
void broker_connection_closes(broker_client_impl &handle);

/// Whether the connection that was closed last had been kept, and was found dead before the first
/// byte of an answer came. What may be sent twice is then sent once more, on a new one.
bool kept_connection_was_dead(const broker_client_impl &handle);

/// Introduces the client unless the broker knows it already.
BrokerResult send_hello_if_necessary(broker_client_impl &handle);

/// Whether the broker may be asked for the same twice, because it does nothing but answer. Where it
/// may have acted, nobody but the caller can tell (RFC 9110 section 9.2.2).
enum class Repeatable : bool { no, yes };

/// Asks the broker for one thing, from the introduction to the closed connection; see perform().
template <Repeatable repeatable = Repeatable::no, class Start, class... Brought>
BrokerResult ask(broker_client_impl &handle, Start start, Brought &...brought) {
    BrokerResult outcome = send_hello_if_necessary(handle);
    if (outcome.code != ERROR_CODE_NONE)
        return outcome;
    do {
        outcome = broker_connection_opens(handle);
        if (outcome.code != ERROR_CODE_NONE)
            return outcome;
        outcome = perform(handle, ERROR_CODE_SOCKET_OR_SYS_FAILURE, start, brought...);
        broker_connection_closes(handle);
    } while (repeatable == Repeatable::yes && kept_connection_was_dead(handle));
    return outcome;
}

/// Says good-bye to a broker that was ever greeted, and forgets the introduction.
BrokerResult end_session(broker_client_impl &handle);

} // namespace kavro
