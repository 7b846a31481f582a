#pragma once

#include "utils/src/secure_text.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace boost::property_tree::detail::rapidxml {
template <class Ch>
class xml_node;
}

namespace kavro {

struct XmlAttribute {
    std::string_view name;
    std::string_view value;
};

/// One element of a document, or none. A view: it and the texts it hands out as string_view live as
/// long as the document.
class XmlNode {
public:
    using Node = boost::property_tree::detail::rapidxml::xml_node<char>;

    XmlNode() = default;
    explicit XmlNode(const Node *node) : node_(node) {}

    explicit operator bool() const { return node_ != nullptr; }
    std::string_view name() const;
    /// The element's own text, CDATA included, without that of its children; white space is kept.
    std::string text() const;
    std::optional<std::string_view> attribute(std::string_view name) const;
    std::vector<XmlAttribute> attributes() const;

    /// The first child element (of that name), or none. Comments are no elements.
    XmlNode child() const;
    XmlNode child(std::string_view name) const;
    /// The next sibling element (of that name), or none.
    XmlNode next() const;
    XmlNode next(std::string_view name) const;

    const Node *get() const { return node_; }

private:
    const Node *node_ = nullptr;
};

/// Calls `visit` with every child element of that name, in document order.
template <class Visit>
void for_each_child(XmlNode parent, std::string_view name, Visit visit) {
    for (XmlNode child = parent.child(name); child; child = child.next(name))
        visit(child);
}

/// Appends the element as XML text that reads back as the same element.
void append_xml(std::string &out, XmlNode element);

/// A parsed document together with the text that its names and values live in.
class XmlDocument {
public:
    static constexpr int max_nesting = 64; ///< the root counts

    /// Reads a document in place. Null on malformed text, with the reason in `error`.
    static std::shared_ptr<const XmlDocument> parse(SecureText text, std::string &error);

    XmlDocument(const XmlDocument &) = delete;
    XmlDocument &operator=(const XmlDocument &) = delete;
    ~XmlDocument();

    /// The first top-level element, or none in an empty document.
    XmlNode root() const;

private:
    struct Tree;

    explicit XmlDocument(SecureText text);

    SecureText text_;
    std::unique_ptr<Tree> tree_;
};

} // namespace kavro
