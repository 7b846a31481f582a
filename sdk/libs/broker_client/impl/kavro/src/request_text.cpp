#include "kavro/src/request_text.h"

#include <cstdlib>
#include <string>

namespace kavro {

namespace {

constexpr std::string_view line_end = "\r\n";

/// Takes the next component off a dotted version, as a number: its leading digits, 0 without any.
long take_component(std::string_view &version) {
    const auto dot = std::min(version.find('.'), version.size());
    const std::string component(version.substr(0, dot));
    version.remove_prefix(std::min(dot + 1, version.size()));
    return std::strtol(component.c_str(), nullptr, 10);
}

} // namespace

bool version_at_least(std::string_view version, std::string_view required) {
    while (!version.empty() && !required.empty()) {
        const long have = take_component(version);
        const long need = take_component(required);
        if (have != need)
            return have > need;
    }
    return true;
}

RequestText::RequestText(std::string_view protocol_version) {
    text_.reserve(1024);
    line("<?xml version=\"1.0\" encoding=\"utf-8\"?>");
    add("<kavro-client version=\"", protocol_version, "\">", line_end);
}

RequestText &RequestText::open(std::string_view element, std::string_view method) {
    if (method.empty())
        return add("<", element, ">", line_end);
    return add("<", element, " method=\"", method, "\">", line_end);
}

RequestText &RequestText::close(std::string_view element) {
    return add("</", element, ">", line_end);
}

RequestText &RequestText::empty(std::string_view element) {
    return add("<", element, "/>", line_end);
}

RequestText &RequestText::line(std::string_view text) {
    return add(text, line_end);
}

RequestText &RequestText::element(std::string_view name, std::string_view value) {
    return add("<", name, ">", value, "</", name, ">", line_end);
}

RequestText &RequestText::secret_element(std::string_view name, std::string_view value) {
    return add("<", name, " do-not-log=\"true\">", value, "</", name, ">", line_end);
}

RequestText &RequestText::variables(std::string_view name, const Variables &list) {
    if (list.empty())
        return *this;
    open(name);
    for (const auto &[variable, value] : list)
        open("variable").element("name", variable).element("value", value).close("variable");
    return close(name);
}

SecureText RequestText::finish() && {
    close("kavro-client");
    return std::move(text_);
}

} // namespace kavro
