#include "xml/xml_message_log.h"

#include "utils/src/ascii.h"
#include "utils/src/broker_log.h"
#include "utils/src/broker_utils.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <iterator>

namespace kavro {

namespace {

constexpr std::string_view mask = "*****";
constexpr std::string_view protected_message = "Protected Info *****";
constexpr std::string_view connect_tag_error = "Error parsing the connect-tag - ";
constexpr std::size_t connect_tag_shown = 12;

/// How much of an element may be seen.
enum class Secrecy {
    none,
    token,       ///< nothing of its content, marked do-not-log or not
    connect_tag, ///< in what is received, its end
    sensitive    ///< its presence hides the whole message
};

struct SecretName {
    std::string_view name;
    Secrecy secrecy;
};

constexpr std::array<SecretName, 8> secret_names = {{
    {"username", Secrecy::sensitive},
    {"password", Secrecy::sensitive},
    {"new-password", Secrecy::sensitive},
    {"old-password", Secrecy::sensitive},
    {"oauth-code", Secrecy::token},
    {"gateway-ticket", Secrecy::token},
    {"jsessionid", Secrecy::token},
    {"connect-tag", Secrecy::connect_tag},
}};

/// A message without any of these is none of the broker protocol and is never shown.
constexpr std::string_view known_names[] = {
    // clang-format off
    "kavro-client", "hello", "client-info", "product-name", "product-version", "platform",
    "locale", "hostname", "serial-number", "device-name", "kavro-unique-id", "organization-id",
    "caps", "cap", "server-address", "ip-address", "hello-resp", "brokers-info", "broker-info",
    "next-authentication", "authentication-methods", "method", "domains", "domain",
    "disclaimer", "dialog-parameters", "authenticate", "authenticate-resp", "update-password",
    "update-password-resp", "error-resp", "result", "result-id", "result-str", "detected-by",
    "get-resource-list", "get-resource-list-resp", "resource", "resource-name", "resource-id",
    "resource-type", "resource-state", "protocols", "protocol", "allocate-resource",
    "allocate-resource-resp", "target", "port", "connect-tag", "perform-operation",
    "perform-operation-resp", "bye", "session-id", "bye-resp",
    // clang-format on
};

/// Names are compared without prefix and case: a secret does not become one by its spelling.
bool same_local_name(std::string_view name, std::string_view known) {
    if (name.size() < known.size())
        return false;
    const std::string_view local = name.substr(name.size() - known.size());
    const bool prefixed = name.size() > known.size();
    if (prefixed && name[name.size() - known.size() - 1] != ':')
        return false;
    return ascii::equal_ignoring_case(local, known);
}

/// Anything but a plain "false" counts as the wish to hide, also beside one.
bool asks_to_hide(const xml::RawAttribute &attribute) {
    return same_local_name(attribute.name, "do-not-log") && attribute.value != "false";
}

/// What does not stand in the log as it is.
constexpr auto needs_care = [] {
    std::array<bool, 256> table{};
    for (std::size_t byte = 0; byte < table.size(); ++byte)
        table[byte] = ascii::is_control(static_cast<char>(byte));
    for (const char special : {'<', '>', '&', '"', '\''})
        table[static_cast<unsigned char>(special)] = true;
    return table;
}();

bool is_special(char c) {
    return needs_care[static_cast<unsigned char>(c)];
}

/// Whether all of a text stands in the log as it is.
bool is_plain(std::string_view text) {
    bool special = false;
    for (const char c : text)
        special |= is_special(c);
    return !special;
}

bool is_blank(std::string_view text) {
    return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

/// Writes a message once from top to bottom, masking as it goes.
class MaskedWriter {
public:
    MaskedWriter(XmlNode root, MessageDirection direction) : root_(root), direction_(direction) {}

    std::string write() {
        if (root_) {
            text_.reserve(root_.size() + root_.size() / 4); // the usual room for the indentation
            write_element(root_, 0);
        }
        if (std::string lines = sensitive_elements(); !lines.empty())
            return lines;
        if (!found_known_)
            return std::string(protected_message);
        if (connect_tag_unreadable_)
            text_.insert(0, connect_tag_error);
        return std::move(text_);
    }

private:
    void write_element(XmlNode element, std::size_t depth) {
        root_.checkpoint().step();
        const std::string_view name = element.name();
        found_known_ =
            found_known_ || std::ranges::find(known_names, name) != std::end(known_names);
        Secrecy secrecy = note_secrecy(name);
        text_.append(2 * depth, ' ');
        if (secrecy == Secrecy::none && write_whole(element, name))
            return;
        text_ += '<';
        const std::size_t name_begin = text_.size();
        append_shown(name);
        const std::size_t name_size = text_.size() - name_begin;
        const std::string_view content =
            element.for_each_attribute([&](const xml::RawAttribute &attribute) {
                write_attribute(attribute);
                if (asks_to_hide(attribute))
                    secrecy = Secrecy::token;
            });
        text_ += '>';
        if (secrecy == Secrecy::token || secrecy == Secrecy::sensitive)
            text_ += mask; // also where nothing of this text will be shown: it is not wiped
        else if (secrecy == Secrecy::connect_tag && direction_ == MessageDirection::received)
            write_connect_tag(element.text(buffer_));
        else
            write_content(element, content, depth);
        text_ += "</";
        text_.append(text_, name_begin, name_size);
        text_ += ">\n";
    }

    /// Most elements have a plain name and a plain text and nothing else, and are copied in one
    /// piece. In the document a zero stands in the place of the end tag's "<".
    bool write_whole(XmlNode element, std::string_view name) {
        const std::string_view content = element.bare_content(name);
        if (content.data() == nullptr || element.child() || !is_plain(name) || !is_plain(content))
            return false;
        const std::size_t close = text_.size() + name.size() + content.size() + 2;
        text_.append(name.data() - 1, 2 * name.size() + content.size() + 5) += '\n';
        text_[close] = '<';
        return true;
    }

    Secrecy note_secrecy(std::string_view name) {
        for (std::size_t i = 0; i < secret_names.size(); ++i) {
            if (same_local_name(name, secret_names[i].name)) {
                found_.set(i);
                return secret_names[i].secrecy;
            }
        }
        return Secrecy::none;
    }

    void write_attribute(const xml::RawAttribute &attribute) {
        text_ += ' ';
        append_shown(attribute.name);
        text_ += "=\"";
        buffer_.clear();
        xml::append_decoded(buffer_, attribute.value, root_.checkpoint());
        append_shown(buffer_);
        text_ += '"';
    }

    void write_content(XmlNode element, std::string_view content, std::size_t depth) {
        XmlNode child = element.child();
        if (!child)
            return write_text(element, content);
        // Behind a comment or the like there may still be nothing to see.
        if (element.has_mixed_content() && !is_blank(element.text(buffer_)))
            write_text(element, content);
        text_ += '\n';
        for (; child; child = child.next())
            write_element(child, depth + 1);
        text_.append(2 * depth, ' ');
    }

    /// A text that needs no care needs no decoding either.
    void write_text(XmlNode element, std::string_view content) {
        if (std::ranges::none_of(content, is_special))
            text_ += content;
        else
            append_shown(element.text(buffer_));
    }

    /// Text as it stands in XML, with control characters made visible: no broker can forge a log
    /// line.
    void append_shown(std::string_view text) {
        for (;; root_.checkpoint().step()) {
            const auto special = std::ranges::find_if(text, is_special);
            text_.append(text.begin(), special);
            if (special == text.end())
                return;
            if (ascii::is_control(*special))
                fmt::format_to(std::back_inserter(text_), "\\x{:02X}", *special);
            else
                append_escaped_xml(text_, {special, special + 1});
            text = {special + 1, text.end()};
        }
    }

    void write_connect_tag(std::string_view tag) {
        text_ += mask;
        if (tag.size() > connect_tag_shown)
            append_shown(tag.substr(tag.size() - connect_tag_shown));
        else
            connect_tag_unreadable_ = true; // showing 12 of 12 characters would mask nothing
    }

    std::string sensitive_elements() const {
        std::string lines;
        for (std::size_t i = 0; i < secret_names.size(); ++i) {
            if (found_[i] && secret_names[i].secrecy == Secrecy::sensitive)
                lines += fmt::format("    <{0}> *****</{0}>\n", secret_names[i].name);
        }
        return lines;
    }

    std::string text_;
    std::string buffer_; ///< for what the document does not have in one piece
    XmlNode root_;
    MessageDirection direction_;
    std::bitset<secret_names.size()> found_;
    bool found_known_ = false;
    bool connect_tag_unreadable_ = false;
};

} // namespace

std::string masked_message(XmlNode root, MessageDirection direction) {
    return MaskedWriter(root, direction).write();
}

bool messages_are_logged() {
    return is_logged(log_info.severity);
}

void log_message(XmlNode root, MessageDirection direction) {
    if (!messages_are_logged())
        return;
    log_info("%s", direction == MessageDirection::sending
                       ? "Sending XML: -------------------------"
                       : "Received XML: ------------------------");
    log_info("%s", masked_message(root, direction).c_str());
}

} // namespace kavro
