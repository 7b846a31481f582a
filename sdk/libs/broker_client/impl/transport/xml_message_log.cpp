#include "transport/xml_message_log.h"

#include "utils/src/broker_log.h"
#include "utils/src/broker_utils.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <iterator>
#include <optional>

namespace kavro {

namespace {

constexpr std::string_view mask = "*****";
constexpr std::string_view protected_message = "Protected Info *****";
constexpr std::string_view connect_tag_error = "Error parsing the connect-tag - ";
constexpr std::size_t connect_tag_shown = 12;

/// Elements whose presence hides the whole message.
constexpr std::array<std::string_view, 4> sensitive_names = {"username", "password", "new-password",
                                                             "old-password"};

/// Elements that carry a token, marked do-not-log or not.
constexpr std::array<std::string_view, 3> token_names = {"oauth-code", "gateway-ticket",
                                                         "jsessionid"};

/// A message without any of these is none of the broker protocol and is never shown.
constexpr std::array<std::string_view, 54> known_names = {"kavro-client",
                                                          "hello",
                                                          "client-info",
                                                          "product-name",
                                                          "product-version",
                                                          "platform",
                                                          "locale",
                                                          "hostname",
                                                          "serial-number",
                                                          "device-name",
                                                          "kavro-unique-id",
                                                          "organization-id",
                                                          "caps",
                                                          "cap",
                                                          "server-address",
                                                          "ip-address",
                                                          "hello-resp",
                                                          "brokers-info",
                                                          "broker-info",
                                                          "next-authentication",
                                                          "authentication-methods",
                                                          "method",
                                                          "domains",
                                                          "domain",
                                                          "disclaimer",
                                                          "dialog-parameters",
                                                          "authenticate",
                                                          "authenticate-resp",
                                                          "update-password",
                                                          "update-password-resp",
                                                          "error-resp",
                                                          "result",
                                                          "result-id",
                                                          "result-str",
                                                          "detected-by",
                                                          "get-resource-list",
                                                          "get-resource-list-resp",
                                                          "resource",
                                                          "resource-name",
                                                          "resource-id",
                                                          "resource-type",
                                                          "resource-state",
                                                          "protocols",
                                                          "protocol",
                                                          "allocate-resource",
                                                          "allocate-resource-resp",
                                                          "target",
                                                          "port",
                                                          "connect-tag",
                                                          "perform-operation",
                                                          "perform-operation-resp",
                                                          "bye",
                                                          "session-id",
                                                          "bye-resp"};

/// Names are compared without prefix and case: a secret does not become one by its spelling.
bool same_local_name(std::string_view name, std::string_view known) {
    if (name.size() < known.size())
        return false;
    const std::string_view local = name.substr(name.size() - known.size());
    const bool prefixed = name.size() > known.size();
    if (prefixed && name[name.size() - known.size() - 1] != ':')
        return false;
    return std::ranges::equal(local, known, {}, [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
}

template <std::size_t N>
std::optional<std::size_t> find_local_name(const std::array<std::string_view, N> &names,
                                           std::string_view name) {
    const auto found = std::ranges::find_if(
        names, [name](std::string_view known) { return same_local_name(name, known); });
    if (found == names.end())
        return std::nullopt;
    return static_cast<std::size_t>(found - names.begin());
}

/// Anything but a plain "false" counts as the wish to hide, also beside one.
bool is_marked_secret(XmlNode element) {
    return std::ranges::any_of(element.attributes(), [](const XmlAttribute &attribute) {
        return same_local_name(attribute.name, "do-not-log") && attribute.value != "false";
    });
}

bool is_control(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7F;
}

/// Text as it stands in XML, with control characters made visible: no broker can forge a log line.
void append_shown(std::string &out, std::string_view text) {
    while (!text.empty()) {
        const auto control = std::ranges::find_if(text, is_control);
        const auto plain = static_cast<std::size_t>(control - text.begin());
        append_escaped_xml(out, text.substr(0, plain));
        text.remove_prefix(plain);
        if (!text.empty()) {
            fmt::format_to(std::back_inserter(out), "\\x{:02X}", text.front());
            text.remove_prefix(1);
        }
    }
}

bool is_blank(std::string_view text) {
    return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

/// Writes a message once from top to bottom, masking as it goes.
class MaskedWriter {
public:
    explicit MaskedWriter(MessageDirection direction) : direction_(direction) {}

    std::string write(XmlNode root) {
        if (root)
            write_element(root, 0);
        if (found_sensitive_.any())
            return sensitive_elements();
        if (!found_known_)
            return std::string(protected_message);
        if (connect_tag_unreadable_)
            text_.insert(0, connect_tag_error);
        return std::move(text_);
    }

private:
    void write_element(XmlNode element, std::size_t depth) {
        const std::string_view name = element.name();
        note_name(name);
        text_.append(2 * depth, ' ');
        write_start_tag(element);
        if (is_marked_secret(element) || find_local_name(token_names, name))
            text_ += mask;
        else if (direction_ == MessageDirection::received && same_local_name(name, "connect-tag"))
            write_connect_tag(element.text());
        else
            write_content(element, depth);
        text_ += "</";
        append_shown(text_, name);
        text_ += ">\n";
    }

    void note_name(std::string_view name) {
        if (const auto sensitive = find_local_name(sensitive_names, name))
            found_sensitive_.set(*sensitive);
        found_known_ = found_known_ || std::ranges::find(known_names, name) != known_names.end();
    }

    void write_start_tag(XmlNode element) {
        text_ += '<';
        append_shown(text_, element.name());
        for (const auto &[name, value] : element.attributes()) {
            text_ += ' ';
            append_shown(text_, name);
            text_ += "=\"";
            append_shown(text_, value);
            text_ += '"';
        }
        text_ += '>';
    }

    void write_content(XmlNode element, std::size_t depth) {
        XmlNode child = element.child();
        if (const std::string text = element.text(); !child || !is_blank(text))
            append_shown(text_, text);
        if (!child)
            return;
        text_ += '\n';
        for (; child; child = child.next())
            write_element(child, depth + 1);
        text_.append(2 * depth, ' ');
    }

    void write_connect_tag(std::string_view tag) {
        text_ += mask;
        if (tag.size() > connect_tag_shown)
            append_shown(text_, tag.substr(tag.size() - connect_tag_shown));
        else
            connect_tag_unreadable_ = true; // showing 12 of 12 characters would mask nothing
    }

    std::string sensitive_elements() const {
        std::string lines;
        for (std::size_t i = 0; i < sensitive_names.size(); ++i) {
            if (found_sensitive_[i])
                lines += fmt::format("    <{0}> *****</{0}>\n", sensitive_names[i]);
        }
        return lines;
    }

    std::string text_;
    MessageDirection direction_;
    std::bitset<sensitive_names.size()> found_sensitive_;
    bool found_known_ = false;
    bool connect_tag_unreadable_ = false;
};

} // namespace

std::string masked_message(XmlNode root, MessageDirection direction) {
    return MaskedWriter(direction).write(root);
}

void log_message(XmlNode root, MessageDirection direction) {
    log_info("%s", direction == MessageDirection::sending
                       ? "Sending XML: -------------------------"
                       : "Received XML: ------------------------");
    log_info("%s", masked_message(root, direction).c_str());
}

} // namespace kavro
