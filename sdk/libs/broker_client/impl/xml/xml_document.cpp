#include "xml/xml_document.h"

#include "utils/src/broker_utils.h"
#include "xml/xml_encoding.h"

#include <algorithm>

namespace kavro {

using xml::RawAttribute;

namespace {

/// Returns the text between two marks, the second of which is there, and moves past that one.
std::string_view take_between(std::string_view &text, std::string_view opening,
                              std::string_view closing) {
    text.remove_prefix(opening.size());
    const std::string_view inside = text.substr(0, text.find(closing));
    text.remove_prefix(inside.size() + closing.size());
    return inside;
}

} // namespace

std::size_t XmlNode::size() const {
    return place().close - place().start;
}

std::shared_ptr<const XmlDocument> XmlNode::document() const {
    return document_->shared_from_this();
}

std::optional<std::string> XmlNode::attribute(std::string_view name) const {
    const char *at = name_end();
    for (RawAttribute attribute; next_attribute(at, attribute); checkpoint().step()) {
        if (attribute.name != name)
            continue;
        std::string value;
        xml::append_decoded(value, attribute.value, checkpoint());
        return value;
    }
    return std::nullopt;
}

XmlNode XmlNode::child(std::string_view name) const {
    return child().first_named(name);
}

XmlNode XmlNode::next(std::string_view name) const {
    return next().first_named(name);
}

/// This one or the first of those behind it.
XmlNode XmlNode::first_named(std::string_view name) const {
    if (document_ == nullptr)
        return {};
    const auto &elements = document_->elements_;
    std::uint32_t index = index_;
    while (index < siblings_end_ && !document_->is_named(elements[index], name))
        index = elements[index].next;
    checkpoint().step(index - index_ + std::size_t{1});
    return {document_, index, siblings_end_};
}

const char *XmlNode::end() const {
    const char *close = text_at(place().close);
    while (*close != '>')
        ++close;
    return close + 1;
}

bool XmlNode::has_mixed_content() const {
    XmlNode element = child();
    if (!element)
        return false;
    const std::string_view whole = content();
    const char *at_text = whole.data();
    for (; element; element = element.next()) {
        if (xml::skip_white(at_text) != text_at(element.place().start))
            return true;
        at_text = element.end();
        checkpoint().step();
    }
    return xml::skip_white(at_text) != whole.data() + whole.size();
}

/// Calls `on_text` with every piece of text, as it is spelt and whether it is CDATA, and `on_child`
/// with every child, in the order in which they stand.
template <class OnText, class OnChild>
void XmlNode::visit_content(OnText on_text, OnChild on_child) const {
    XmlNode element = child();
    for (std::string_view rest = content(); !rest.empty(); checkpoint().step()) {
        const auto plain = std::min(rest.find('<'), rest.size());
        if (plain != 0)
            on_text(rest.substr(0, plain), false);
        rest.remove_prefix(plain);
        if (element && rest.data() == text_at(element.place().start)) {
            on_child(element);
            rest.remove_prefix(static_cast<std::size_t>(element.end() - rest.data()));
            element = element.next();
        } else if (rest.starts_with("<?")) {
            take_between(rest, "<?", "?>");
        } else if (rest.starts_with("<!--")) {
            take_between(rest, "<!--", "-->");
        } else if (!rest.empty()) {
            on_text(take_between(rest, "<![CDATA[", "]]>"), true);
        }
    }
}

std::string_view XmlNode::text(std::string &buffer) const {
    const std::string_view whole = content();
    if (whole.empty() || xml::find(whole.data(), xml::ends_text) == whole.data() + whole.size())
        return whole;
    buffer.clear();
    visit_content(
        [&](std::string_view piece, bool cdata) {
            if (cdata)
                buffer += piece;
            else
                xml::append_decoded(buffer, piece, checkpoint());
        },
        [](XmlNode) {});
    return buffer;
}

std::string XmlNode::text() const {
    std::string buffer;
    const std::string_view whole = text(buffer);
    return whole.data() == buffer.data() ? std::move(buffer) : std::string(whole);
}

void append_xml(std::string &out, XmlNode element) {
    std::string value;
    const auto append_value = [&](std::string_view raw, bool cdata) {
        value.clear();
        if (!cdata)
            xml::append_decoded(value, raw, element.checkpoint());
        append_escaped_xml(out, cdata ? raw : value);
    };
    (out += '<') += element.name();
    element.for_each_attribute([&](const RawAttribute &attribute) {
        ((out += ' ') += attribute.name) += "=\"";
        append_value(attribute.value, false);
        out += '"';
    });
    out += '>';
    element.visit_content(append_value, [&out](XmlNode child) { append_xml(out, child); });
    ((out += "</") += element.name()) += '>';
}

std::shared_ptr<const XmlDocument> XmlDocument::parse(SecureText text, std::string &error,
                                                      Checkpoint checkpoint) {
    std::shared_ptr<XmlDocument> document(new XmlDocument(std::move(text), std::move(checkpoint)));
    const char *reason = xml::make_utf8(document->text_, document->checkpoint_);
    if (reason == nullptr)
        reason = xml::index_elements(document->text_, max_nesting, document->elements_,
                                     document->checkpoint_);
    if (reason == nullptr)
        return document;
    error = reason;
    return nullptr;
}

} // namespace kavro
