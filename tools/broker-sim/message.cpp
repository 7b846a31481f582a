#include "message.h"

#include <boost/property_tree/xml_parser.hpp>

#include <algorithm>
#include <sstream>

namespace broker_sim {
namespace {

using boost::property_tree::ptree;

/// Whether this, between an ampersand and a semicolon, names a character.
bool is_reference(std::string_view name) {
    constexpr std::string_view entities[] = {"lt", "gt", "amp", "quot", "apos"};
    if (!name.starts_with('#'))
        return std::ranges::find(entities, name) != std::end(entities);
    const bool is_hex = name.starts_with("#x");
    const std::string_view digits = name.substr(is_hex ? 2 : 1);
    return !digits.empty() && digits.find_first_not_of(is_hex ? "0123456789abcdefABCDEF"
                                                              : "0123456789") == digits.npos;
}

/// The parser takes an ampersand that begins no reference for itself; XML does not.
bool has_stray_ampersand(std::string_view text) {
    for (std::size_t at = text.find('&'); at != text.npos; at = text.find('&', at + 1)) {
        const std::string_view rest = text.substr(at + 1, 16);
        const std::size_t end = rest.find(';');
        if (end == rest.npos || !is_reference(rest.substr(0, end)))
            return true;
    }
    return false;
}

[[noreturn]] void refuse_format(const std::string &detail) {
    throw ProtocolError{"ERR_INVALID_MSG_FORMAT", "The request is no XML document", detail};
}

ptree parse(const std::string &body) {
    if (has_stray_ampersand(body))
        refuse_format("an ampersand begins no reference");
    ptree document;
    try {
        std::istringstream stream(body);
        read_xml(stream, document, boost::property_tree::xml_parser::no_comments);
    } catch (const boost::property_tree::xml_parser_error &error) {
        refuse_format(error.message());
    }
    if (document.empty())
        refuse_format("there is no element");
    return document;
}

void check_envelope(const ptree &document) {
    if (document.front().first != "kavro-client")
        throw ProtocolError{"ERR_INVALID_MSG_ENVELOPE", "The root element is not kavro-client"};
    const auto version = document.get_optional<std::string>("kavro-client.<xmlattr>.version");
    if (!version)
        throw ProtocolError{"ERR_INVALID_MSG_ENVELOPE", "The request states no version"};
    if (*version != "2.0" && *version != "2.1")
        throw ProtocolError{"ERR_UNSUPPORTED_VERSION", "The version is not 2.0 or 2.1", *version};
}

} // namespace

std::optional<std::string> Message::text(const std::string &path) const {
    const auto found = element.get_optional<std::string>(path);
    return found ? std::optional(*found) : std::nullopt;
}

std::string Message::required(const std::string &path) const {
    const auto found = text(path);
    if (!found)
        throw ProtocolError{"ERR_INVALID_MISSING_MSG_CONTENT", "The request misses an element",
                            path};
    return *found;
}

Message read_message(const std::string &body) {
    ptree document = parse(body);
    check_envelope(document);
    for (auto &[name, element] : document.front().second)
        if (name != "<xmlattr>")
            return {name, std::move(element)};
    throw ProtocolError{"ERR_INVALID_MISSING_MSG_CONTENT", "The envelope is empty"};
}

Variables read_variables(const Message &message, const std::string &path) {
    Variables variables;
    if (const auto list = message.element.get_child_optional(path))
        for (const auto &[name, variable] : *list)
            variables.push_back(
                {variable.get<std::string>("name", ""), variable.get<std::string>("value", "")});
    return variables;
}

void write_variables(XmlWriter &xml, std::string_view list, const Variables &variables) {
    if (variables.empty())
        return;
    const auto scope = xml.element(list);
    for (const auto &[name, value] : variables) {
        const auto variable = xml.element("variable");
        xml.leaf("name", name);
        xml.leaf("value", value);
    }
}

void write_result(XmlWriter &xml, std::string_view result_id, std::string_view result_str,
                  std::string_view fail_reason) {
    const auto result = xml.element("result");
    xml.leaf("result-id", result_id);
    xml.leaf_unless_empty("result-str", result_str);
    xml.leaf_unless_empty("fail-reason-str", fail_reason);
}

std::string error_document(std::string_view version, const ProtocolError &error,
                           std::string_view detected_by) {
    return answer_document(version, "error-resp", [&](XmlWriter &xml) {
        const auto result = xml.element("result");
        xml.leaf("result-id", error.result_id);
        xml.leaf("result-str", error.result_str);
        xml.leaf("detected-by", detected_by);
        xml.leaf_unless_empty("err-detail", error.detail);
    });
}

} // namespace broker_sim
