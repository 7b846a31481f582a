// What every server has at which path.
#include "pages.h"

#include "proxy_log_in.h"

#include <algorithm>

namespace broker_sim {
namespace {

HttpAnswer refuse(const Broker &broker, const ProtocolError &error) {
    return {.body = broker.refusal(error)};
}

HttpAnswer answer_message(Broker &broker, const Visit &visit) {
    if (visit.error)
        return refuse(broker, *visit.error);
    BrokerAnswer answer =
        broker.answer(visit.message, visit.http.cookie(broker.scenario().session_cookie));
    HttpAnswer http{.body = std::move(answer.body)};
    if (!answer.set_cookie.empty())
        http.headers.emplace_back("Set-Cookie", answer.set_cookie);
    return http;
}

/// The client is on a connection that knows no cookies, so it names its session in the message.
HttpAnswer answer_provisioning(Broker &broker, const Visit &visit) {
    if (visit.error)
        return refuse(broker, *visit.error);
    return {.body =
                broker.answer(visit.message, visit.message.text("jsessionid"), visit.server).body};
}

/// As much of a View broker as somebody who only asks what it is gets to see.
HttpAnswer answer_view(Broker &, const Visit &) {
    XmlWriter xml;
    xml.put("<?xml version=\"1.0\"?>\n");
    {
        const auto root = xml.element("broker", "version", "1.0");
        xml.leaf("result", "ok");
    }
    return {.body = xml.take()};
}

HttpAnswer answer_table(Broker &broker, const Visit &) {
    return {.headers = {{"Content-Type", "application/json"}},
            .body = broker.scenario().registration.value().table};
}

HttpAnswer answer_connect(Broker &broker, const Visit &visit) {
    return admit(broker.scenario().proxy.value(), broker.state().proxy, visit.http);
}

struct Page {
    std::string_view server, method, path; ///< no path stands for any
    HttpAnswer (*answer)(Broker &, const Visit &);
    std::string_view kind{}; ///< where requests are no messages, which name their own
};

constexpr Page pages[] = {
    {server_name::broker, "POST", "/kavro-broker/xml", answer_message},
    {server_name::provisioning, "POST", "/kavro-broker/xml", answer_provisioning},
    {server_name::view_broker, "POST", "/broker/xml", answer_view, "view"},
    {server_name::registration, "GET", "/cm-lookup.cfg", answer_table, "registration-table"},
    {server_name::proxy, "CONNECT", "", answer_connect, "connect"},
};

const Page *find_page(std::string_view server, const HttpRequest &request) {
    const auto page = std::ranges::find_if(pages, [&](const Page &candidate) {
        return candidate.server == server &&
               (candidate.path.empty() || candidate.path == request.target);
    });
    return page == std::end(pages) ? nullptr : page;
}

} // namespace

bool is_request_kind(std::string_view kind) {
    return is_message_kind(kind) ||
           (!kind.empty() && std::ranges::find(pages, kind, &Page::kind) != std::end(pages));
}

Visit receive(std::string_view server, const HttpRequest &request) {
    Visit visit{.server = server, .http = request};
    try {
        visit.message = read_message(request.body);
        visit.kind = visit.message.kind;
    } catch (const ProtocolError &error) {
        visit.error = error;
        if (const Page *const page = find_page(server, request))
            visit.kind = page->kind;
    }
    return visit;
}

HttpAnswer answer(Broker &broker, const Visit &visit) {
    if (!visit.http.well_formed)
        return {.status = 400};
    const Page *const page = find_page(visit.server, visit.http);
    if (!page)
        return {.status = 404};
    return visit.http.method == page->method ? page->answer(broker, visit)
                                             : HttpAnswer{.status = 405};
}

} // namespace broker_sim
