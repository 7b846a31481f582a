#include "messages.h"

#include <fmt/format.h>

#include <cstdint>

namespace bench {

namespace {

std::string enveloped(std::string_view message) {
    return fmt::format("<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n"
                       "<kavro-client version=\"2.1\">\r\n{}</kavro-client>\r\n",
                       message);
}

/// Neighbours in the list are far apart in the order by id, as they are with random ids.
std::uint32_t scattered(std::size_t index) {
    return static_cast<std::uint32_t>(index) * 2654435761U;
}

std::string desktop(std::size_t index) {
    constexpr std::string_view states[] = {"POWERED_ON", "POWERED_OFF", "SUSPENDED"};
    return fmt::format("<resource>\n"
                       "<resource-name>Windows 11 Engineering desktop {0}</resource-name>\n"
                       "<resource-id>{1:08x}-5a1d-4c1e-9a57-{0:012x}</resource-id>\n"
                       "<resource-type session-type=\"VDI\">DESKTOP</resource-type>\n"
                       "<resource-state>{2}</resource-state>\n"
                       "<health-state>HEALTHY</health-state>\n"
                       "<protocols>\n"
                       "<protocol>KAVRO</protocol>\n"
                       "</protocols>\n"
                       "<supported-operations>\n"
                       "<supported-operation>CMD_OS_RESTART</supported-operation>\n"
                       "<supported-operation>CMD_PWR_DOWN</supported-operation>\n"
                       "<supported-operation>CMD_PWR_SLEEP</supported-operation>\n"
                       "</supported-operations>\n"
                       "</resource>\n",
                       index, scattered(index), states[index % 3]);
}

} // namespace

std::string hello_request() {
    return enveloped("<hello>\r\n<client-info>\r\n<product-name>bench</product-name>\r\n"
                     "<product-version>1.0</product-version>\r\n<platform>Linux</platform>\r\n"
                     "<locale>en_US</locale>\r\n</client-info>\r\n<caps>\r\n"
                     "<cap>CAP_DIALOG_AUTHENTICATION</cap>\r\n</caps>\r\n</hello>\r\n");
}

std::string operation_request() {
    return enveloped("<perform-operation>\r\n<resource-id>desktop</resource-id>\r\n"
                     "<operation>CMD_OS_RESTART</operation>\r\n</perform-operation>\r\n");
}

std::string list_request() {
    return enveloped(
        "<get-resource-list>\r\n<protocols>\r\n<protocol>KAVRO</protocol>\r\n"
        "</protocols>\r\n<resource-types>\r\n<resource-type>DESKTOP</resource-type>\r\n"
        "</resource-types>\r\n</get-resource-list>\r\n");
}

std::vector<std::string> log_in_requests() {
    return {hello_request(),
            enveloped("<authenticate>\r\n<username>alice</username>\r\n<password>wonderland"
                      "</password>\r\n<domain>EXAMPLE</domain>\r\n</authenticate>\r\n"),
            list_request(),
            enveloped("<allocate-resource>\r\n<resource-id>desktop</resource-id>\r\n"
                      "<protocol>KAVRO</protocol>\r\n</allocate-resource>\r\n")};
}

std::string hello_answer() {
    return enveloped(
        "<hello-resp>\n<brokers-info>\n<broker-info>\n<product-name>Bench Broker</product-name>\n"
        "<product-version>1.0</product-version>\n<platform>Linux</platform>\n"
        "<locale>en_US</locale>\n<ip-address>127.0.0.1</ip-address>\n"
        "<hostname>localhost</hostname>\n</broker-info>\n</brokers-info>\n"
        "<next-authentication>\n<authentication-methods>\n"
        "<method>AUTHENTICATE_VIA_PASSWORD</method>\n</authentication-methods>\n<domains>\n"
        "<domain>EXAMPLE</domain>\n</domains>\n</next-authentication>\n</hello-resp>\n");
}

std::string operation_answer() {
    return enveloped("<perform-operation-resp>\n<result>\n<result-id>OP_SUCCESSFUL</result-id>\n"
                     "</result>\n</perform-operation-resp>\n");
}

std::string password_answer() {
    return enveloped("<authenticate-resp>\n<result>\n"
                     "<result-id>AUTH_SUCCESSFUL_AND_COMPLETE</result-id>\n</result>\n"
                     "</authenticate-resp>\n");
}

std::string allocation_answer() {
    return enveloped("<allocate-resource-resp>\n<result>\n<result-id>ALLOC_SUCCESSFUL</result-id>\n"
                     "</result>\n<target>\n<ip-address>127.0.0.1</ip-address>\n"
                     "<hostname>localhost</hostname>\n<port>4172</port>\n"
                     "<session-id>4711</session-id>\n"
                     "<connect-tag>SGVsbG8sIHdvcmxkIQ==</connect-tag>\n</target>\n"
                     "</allocate-resource-resp>\n");
}

std::string list_answer(std::size_t desktops) {
    std::string list =
        "<get-resource-list-resp>\n<result>\n<result-id>LIST_SUCCESSFUL</result-id>\n"
        "</result>\n";
    for (std::size_t index = 0; index < desktops; ++index)
        list += desktop(index);
    return enveloped(list + "</get-resource-list-resp>\n");
}

std::string answer_to(std::string_view request, std::size_t desktops) {
    const auto asks_for = [request](std::string_view element) {
        return request.find(element) != std::string_view::npos;
    };
    if (asks_for("<hello>"))
        return hello_answer();
    if (asks_for("<authenticate"))
        return password_answer();
    if (asks_for("<get-resource-list>"))
        return list_answer(desktops);
    return asks_for("<allocate-resource>") ? allocation_answer() : operation_answer();
}

std::string http_request(std::string_view body) {
    return fmt::format("POST {} HTTP/1.1\r\nHost: 127.0.0.1\r\n"
                       "Content-Type: text/xml; charset=UTF-8\r\nContent-Length: {}\r\n"
                       "Connection: Keep-Alive\r\n\r\n{}",
                       broker_path, body.size(), body);
}

std::string http_response(std::string_view body) {
    return fmt::format("HTTP/1.1 200 OK\r\nContent-Type: text/xml; charset=UTF-8\r\n"
                       "Content-Length: {}\r\n\r\n{}",
                       body.size(), body);
}

} // namespace bench
