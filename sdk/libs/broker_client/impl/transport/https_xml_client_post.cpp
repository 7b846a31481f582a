#include "transport/https_xml_client.h"

#include "utils/src/broker_log.h"
#include "xml/xml_message_log.h"

#include <boost/asio/post.hpp>
#include <boost/asio/ssl/error.hpp>

// How a document is posted and its answer read. The handlers stand in the order in which they run;
// each leaves through finish_post().

namespace kavro {

namespace asio = boost::asio;

namespace {

constexpr std::size_t shown_parse_error = 20;
constexpr int max_records_in_a_row = 256; // 4 MiB

/// The document is parsed once more for the log, in a copy that is wiped with the parsed document.
void log_outgoing(std::string_view xml) {
    if (!messages_are_logged())
        return;
    std::string unreadable;
    const auto document = XmlDocument::parse(SecureText(xml), unreadable);
    log_message(document ? document->root() : XmlNode(), MessageDirection::sending);
}

PostResult failed(ePOST_RESULT result, std::string error_text = {}) {
    return {result, std::move(error_text), nullptr};
}

PostResult mangled_http(std::string_view reason) {
    std::string text = "The HTTP response is mangled: ";
    text += reason;
    log_error("%s", text.c_str());
    return failed(POST_RESULT_MANGLED_RESPONSE, std::move(text));
}

/// Reads an answer's body, whoever it came from.
PostResult read_answer(SecureText body, ConnectionReport &report) {
    report.enter(ConnectionPhase::parse);
    report.answer = answer_kind(body);
    std::string error;
    auto document = XmlDocument::parse(std::move(body), error);
    if (!document) {
        log_error("Received XML message parse error: %s",
                  error.substr(0, shown_parse_error).c_str());
        return failed(POST_RESULT_MANGLED_RESPONSE);
    }
    if (report.answer == AnswerKind::other)
        report.answer = AnswerKind::xml;
    log_message(document->root(), MessageDirection::received);
    return {POST_RESULT_SUCCESS, {}, std::move(document)};
}

} // namespace

void HttpsXmlClient::http_post_with_xml_path(std::string_view path, std::string_view xml,
                                             PostHandler on_posted,
                                             std::chrono::milliseconds timeout) {
    on_posted_ = std::move(on_posted);
    request_ = http_post_request(path, peer_.host, client_log_id_, memory().cookies, xml);
    response_.emplace(memory().cookies);
    log_outgoing(xml);
    timer_.set(timeout);
    if (!stream_) {
        asio::post(context_, [this] { post_failed(asio::error::not_connected); });
        return;
    }
    report_->enter(ConnectionPhase::send);
    stream_->async_write(request_, [this](const error_code &error) { handle_write(error); });
}

void HttpsXmlClient::answer_locally(SecureText xml, PostHandler on_posted) {
    on_posted_ = std::move(on_posted);
    asio::post(context_, [this, body = std::move(xml)]() mutable {
        ConnectionReport nobody_sent_it;
        finish_post(read_answer(std::move(body), nobody_sent_it));
    });
}

void HttpsXmlClient::handle_write(const error_code &error) {
    if (error)
        return post_failed(error);
    report_->enter(ConnectionPhase::wait);
    stream_->async_wait_readable([this](const error_code &failure) { handle_readable(failure); });
}

/// Takes all that is there, but lets the deadline and a cancel have their turn in between.
void HttpsXmlClient::read_more() {
    for (int records = 0; records < max_records_in_a_row; ++records) {
        const auto space = response_->space();
        error_code error;
        const std::size_t bytes = stream_->read_some(space.data, space.size, error);
        if (error == asio::error::would_block)
            return stream_->async_wait(
                [this](const error_code &failure) { handle_readable(failure); });
        if (error)
            return post_failed(error);
        if (!report_->reached(ConnectionPhase::receive))
            report_->enter(ConnectionPhase::receive);
        switch (response_->received(bytes)) {
        case HttpResponseParser::State::need_more:
            break;
        case HttpResponseParser::State::complete:
            return finish_post(read_answer(response_->take_body(), *report_));
        case HttpResponseParser::State::mangled:
            return finish_post(mangled_http(response_->reason()));
        case HttpResponseParser::State::not_ok:
            return finish_post(failed(POST_RESULT_NOT_HTTP_OK));
        }
    }
    asio::post(context_, [this] { handle_readable({}); });
}

void HttpsXmlClient::handle_readable(const error_code &error) {
    if (error || cancelled_ || timer_.expired())
        return post_failed(error);
    read_more();
}

void HttpsXmlClient::post_failed(const error_code &error) {
    if (timer_.expired())
        return finish_post(failed(POST_RESULT_TIMEOUT));
    if (cancelled_ || error == asio::error::operation_aborted)
        return finish_post(failed(POST_RESULT_CANCELLED));
    broker_log(LogCategory::general, LogSeverity::error, error.value(),
               "cHTTPS_XML_CLIENT encountered error val=%d cat='%s' message='%s'", error.value(),
               error.category().name(), error.message().c_str());
    const bool tls = error.category() == asio::error::get_ssl_category();
    finish_post(failed(tls ? POST_RESULT_TLS_PROTOCOL_ERROR : POST_RESULT_SOCKET_OR_SYS_FAILURE,
                       error.message()));
}

void HttpsXmlClient::finish_post(PostResult result) {
    timer_.clear();
    record_traffic();
    if (response_)
        report_->http_status = response_->status();
    report_->error = result.error_text;
    if (result.result == POST_RESULT_SUCCESS) {
        report_->enter(ConnectionPhase::answered);
    } else {
        report_->stop();
        close_socket(); // what may be left of the answer must not be taken for the next one
    }
    wipe(request_); // an empty text moved in would leave the old one in its place
    response_.reset();
    // The handler may start the next operation.
    std::exchange(on_posted_, nullptr)(result);
}

} // namespace kavro
