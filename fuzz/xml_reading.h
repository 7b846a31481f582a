#pragma once

#include "utils/src/broker_utils.h"
#include "xml/xml_document.h"

#include <boost/property_tree/detail/rapidxml.hpp>

#include <algorithm>
#include <optional>
#include <string>

namespace fuzz {

inline int height(kavro::XmlNode element) {
    int most = 0;
    for (kavro::XmlNode child = element.child(); child; child = child.next())
        most = std::max(most, height(child));
    return most + 1;
}

inline std::string written(kavro::XmlNode root) {
    std::string text;
    if (root)
        kavro::append_xml(text, root);
    return text;
}

namespace rapidxml = boost::property_tree::detail::rapidxml;

inline void append_value(std::string &out, const rapidxml::xml_base<char> &item) {
    kavro::append_escaped_xml(out, {item.value(), item.value_size()});
}

inline void append_second_reading(std::string &out, const rapidxml::xml_node<char> &node) {
    const std::string name(node.name(), node.name_size());
    (out += '<') += name;
    for (auto *attribute = node.first_attribute(); attribute != nullptr;
         attribute = attribute->next_attribute()) {
        (out += ' ').append(attribute->name(), attribute->name_size()) += "=\"";
        append_value(out, *attribute);
        out += '"';
    }
    out += '>';
    for (auto *child = node.first_node(); child != nullptr; child = child->next_sibling()) {
        if (child->type() == rapidxml::node_element)
            append_second_reading(out, *child);
        else
            append_value(out, *child);
    }
    (out += "</") += name + '>';
}

/// The first element of a document as another parser reads it, written as append_xml() does;
/// nothing when it finds the document malformed. It descends recursively: for documents known to be
/// shallow.
inline std::optional<std::string> second_reading(std::string document) {
    rapidxml::xml_document<char> tree;
    try {
        tree.parse<rapidxml::parse_validate_closing_tags>(document.data());
    } catch (const rapidxml::parse_error &) {
        return std::nullopt;
    }
    const auto *node = tree.first_node();
    while (node != nullptr && node->type() != rapidxml::node_element)
        node = node->next_sibling();
    std::string text;
    if (node != nullptr)
        append_second_reading(text, *node);
    return text;
}

} // namespace fuzz
