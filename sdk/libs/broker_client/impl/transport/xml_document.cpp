#include "transport/xml_document.h"

#include "transport/xml_nesting.h"
#include "utils/src/broker_utils.h"

#include <boost/property_tree/detail/rapidxml.hpp>

namespace kavro {

namespace rapidxml = boost::property_tree::detail::rapidxml;

namespace {

using Node = XmlNode::Node;

/// The first element from `node` on, among its siblings.
XmlNode element_from(const Node *node) {
    while (node != nullptr && node->type() != rapidxml::node_element)
        node = node->next_sibling();
    return XmlNode(node);
}

bool is_text(const Node &node) {
    return node.type() == rapidxml::node_data || node.type() == rapidxml::node_cdata;
}

std::string_view value_of(const rapidxml::xml_base<char> &item) {
    return {item.value(), item.value_size()};
}

std::string_view name_of(const rapidxml::xml_base<char> &item) {
    return {item.name(), item.name_size()};
}

} // namespace

std::string_view XmlNode::name() const {
    return name_of(*node_);
}

std::string XmlNode::text() const {
    std::string text;
    for (const Node *child = node_->first_node(); child != nullptr; child = child->next_sibling()) {
        if (is_text(*child))
            text += value_of(*child);
    }
    return text;
}

std::optional<std::string_view> XmlNode::attribute(std::string_view name) const {
    const auto *attribute = node_->first_attribute(name.data(), name.size());
    if (attribute == nullptr)
        return std::nullopt;
    return value_of(*attribute);
}

std::vector<XmlAttribute> XmlNode::attributes() const {
    std::vector<XmlAttribute> attributes;
    for (const auto *attribute = node_->first_attribute(); attribute != nullptr;
         attribute = attribute->next_attribute())
        attributes.push_back({name_of(*attribute), value_of(*attribute)});
    return attributes;
}

XmlNode XmlNode::child() const {
    return element_from(node_->first_node());
}

XmlNode XmlNode::child(std::string_view name) const {
    return XmlNode(node_->first_node(name.data(), name.size()));
}

XmlNode XmlNode::next() const {
    return element_from(node_->next_sibling());
}

XmlNode XmlNode::next(std::string_view name) const {
    return XmlNode(node_->next_sibling(name.data(), name.size()));
}

void append_xml(std::string &out, XmlNode element) {
    const Node &node = *element.get();
    (out += '<') += element.name();
    for (const auto &[name, value] : element.attributes()) {
        ((out += ' ') += name) += "=\"";
        append_escaped_xml(out, value);
        out += '"';
    }
    out += '>';
    for (const Node *child = node.first_node(); child != nullptr; child = child->next_sibling()) {
        if (is_text(*child))
            append_escaped_xml(out, value_of(*child));
        else
            append_xml(out, XmlNode(child));
    }
    ((out += "</") += element.name()) += '>';
}

struct XmlDocument::Tree {
    rapidxml::xml_document<char> document;
};

XmlDocument::XmlDocument(SecureText text)
    : text_(std::move(text)), tree_(std::make_unique<Tree>()) {}

XmlDocument::~XmlDocument() = default;

std::shared_ptr<const XmlDocument> XmlDocument::parse(SecureText text, std::string &error) {
    if (text.find('\0') != SecureText::npos) {
        error = "zero byte in text";
        return nullptr;
    }
    if (const char *reason = check_xml_nesting(text, max_nesting)) {
        error = reason;
        return nullptr;
    }
    std::shared_ptr<XmlDocument> parsed(new XmlDocument(std::move(text)));
    try {
        parsed->tree_->document.parse<rapidxml::parse_validate_closing_tags>(parsed->text_.data());
    } catch (const rapidxml::parse_error &failure) {
        error = failure.what();
        return nullptr;
    }
    return parsed;
}

XmlNode XmlDocument::root() const {
    return element_from(tree_->document.first_node());
}

} // namespace kavro
