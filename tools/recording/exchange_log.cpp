#include "exchange_log.h"

#include <algorithm>
#include <regex>
#include <utility>

namespace recording {
namespace {

using std::chrono::milliseconds;

constexpr std::string_view last_tag = "</kavro-client>";
constexpr std::string_view mask = "*****";
constexpr std::size_t most_before_words = 80;

/// Of the day, where there is one before the library's words.
std::optional<milliseconds> time_of(std::string_view line) {
    static const std::regex form(R"((\d\d):(\d\d):(\d\d)(?:[.,](\d{3}))?)");
    const std::string beginning(line.substr(0, most_before_words));
    std::smatch part;
    if (!std::regex_search(beginning, part, form))
        return std::nullopt;
    const auto number = [&](std::size_t i) {
        return part[i].matched ? std::stoi(part[i].str()) : 0;
    };
    return milliseconds(((number(1) * 60 + number(2)) * 60 + number(3)) * 1000 + number(4));
}

milliseconds between(milliseconds begin, milliseconds end) {
    return end < begin ? end + std::chrono::hours(24) - begin : end - begin;
}

/// The name of the element in the envelope; empty where there is none.
std::string message_name(const std::string &message) {
    const std::size_t envelope = message.find("<kavro-client");
    const std::size_t begin = message.find("><", std::min(envelope, message.size()));
    if (begin == message.npos)
        return "";
    const std::size_t end = message.find_first_of(" />", begin + 2);
    return message.substr(begin + 2, end - begin - 2);
}

/// A message with a password shows nothing else of itself, but its answer tells which it was.
std::string request_name(const Exchange &exchange) {
    const std::string answer = message_name(exchange.received);
    if (const std::string name = message_name(exchange.sent); !name.empty())
        return name;
    if (const auto end = answer.rfind("-resp"); end != answer.npos && answer != "error-resp")
        return answer.substr(0, end);
    return exchange.sent.find("<new-password>") != exchange.sent.npos ? "update-password"
                                                                      : "authenticate";
}

/// The log shows this ticket, because it is no element of its own.
std::string without_ticket(std::string message) {
    static constexpr std::string_view before = "<name>gateway-ticket</name><value>";
    for (std::size_t at = message.find(before); at != message.npos; at = message.find(before, at)) {
        at += before.size();
        message.replace(at, message.find('<', at) - at, mask);
    }
    return message;
}

} // namespace

struct ExchangeLog::Marker {
    std::string_view words;
    Step step;
    unsigned result = 0;
};

const ExchangeLog::Marker ExchangeLog::markers[] = {
    {"Connecting to https://", &ExchangeLog::connects},
    {"retrying on port", &ExchangeLog::gives_up},
    {"Sending XML: -----", &ExchangeLog::sends},
    {"Received XML: -----", &ExchangeLog::receives},
    {"Sending request to provison server ...", &ExchangeLog::provisions},
    {"Provision result : ", &ExchangeLog::receives},
    {"Deadline Timer has expired!", &ExchangeLog::fails, 4},
    {"verify_server_pbp result is FAILED_BUT_WARNABLE", &ExchangeLog::fails, 301},
    {"verify_server_pbp result is FAILED,", &ExchangeLog::fails, 300},
    {"Handshake failure: e.category='asio.ssl',", &ExchangeLog::fails, 203},
    {"Handshake failure: e.category=", &ExchangeLog::fails, 205},
    {"Received XML message parse error", &ExchangeLog::fails, 206},
    {"encountered error val=", &ExchangeLog::fails, 205},
};

void ExchangeLog::add(std::string_view line) {
    if (take_piece(line))
        return;
    for (const Marker &marker : markers)
        if (line.find(marker.words) != line.npos)
            return (this->*marker.step)(marker, line);
}

/// Every line of a message begins with a tag, behind what the log puts before it.
bool ExchangeLog::take_piece(std::string_view line) {
    if (message_ == nullptr)
        return false;
    const std::size_t begin = line.find('<');
    const bool masked = line.find(mask) != line.npos;
    if (begin == line.npos ||
        (message_->empty() && !masked && line.find("<kavro-client") == line.npos)) {
        message_ = nullptr;
        return masked;
    }
    message_->append(line.substr(begin));
    if (line.find(last_tag) != line.npos)
        message_ = nullptr;
    return true;
}

/// Until something is sent nothing has come of it.
void ExchangeLog::connects(const Marker &, std::string_view line) {
    exchanges_.push_back({.result = 202, .evidence = std::string(line)});
}

/// Where nobody answered at the usual port.
void ExchangeLog::gives_up(const Marker &, std::string_view) {
    if (!exchanges_.empty() && exchanges_.back().sent.empty())
        exchanges_.pop_back();
}

void ExchangeLog::sends(const Marker &, std::string_view line) {
    if (exchanges_.empty() || !exchanges_.back().sent.empty())
        exchanges_.emplace_back();
    exchanges_.back().result = 207; // the only failure of which the log says nothing
    message_ = &exchanges_.back().sent;
    sent_at_ = time_of(line);
}

void ExchangeLog::provisions(const Marker &, std::string_view line) {
    exchanges_.push_back({.request = "session-provision", .sent = std::string(mask)});
    sent_at_ = time_of(line);
}

/// An answer to nothing is the library's own, from what it knows already.
void ExchangeLog::receives(const Marker &, std::string_view line) {
    const bool asked = !exchanges_.empty() && !exchanges_.back().sent.empty();
    gives_up({}, line);
    if (!asked || !exchanges_.back().received.empty())
        return;
    Exchange &exchange = exchanges_.back();
    if (const auto now = time_of(line); now && sent_at_)
        exchange.waited = between(*sent_at_, *now);
    exchange.result = 0;
    message_ = &exchange.received;
    if (line.find("<kavro-client") != line.npos)
        take_piece(line);
}

void ExchangeLog::fails(const Marker &marker, std::string_view line) {
    if (exchanges_.empty() || !exchanges_.back().received.empty())
        return;
    exchanges_.back().result = marker.result;
    exchanges_.back().evidence = line;
}

std::vector<Exchange> ExchangeLog::take() {
    message_ = nullptr;
    for (Exchange &exchange : exchanges_) {
        exchange.received = without_ticket(std::move(exchange.received));
        if (exchange.request.empty() && !exchange.sent.empty())
            exchange.request = request_name(exchange);
    }
    return std::exchange(exchanges_, {});
}

} // namespace recording
