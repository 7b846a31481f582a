#pragma once
#include "scenario.h"
#include "xml_writer.h"

#include <boost/property_tree/ptree.hpp>

#include <optional>
#include <string>
#include <string_view>

namespace broker_sim {

/// Thrown by whoever cannot go on with a request: it is answered by an error-resp.
struct ProtocolError {
    std::string_view result_id;
    std::string result_str;
    std::string detail{};
};

/// One request of the protocol, read from its XML.
struct Message {
    std::string kind{};
    boost::property_tree::ptree element{}; ///< the message element's content

    /// Text of a child element, if the message has it.
    std::optional<std::string> text(const std::string &path) const;
    /// Text of one that it must have.
    std::string required(const std::string &path) const;
};

/// The message of a request body; throws ProtocolError.
Message read_message(const std::string &body);

/// The (name, value) pairs of a list of `variable` elements; none when there is no such list.
Variables read_variables(const Message &message, const std::string &path);

/// Writes `<list><variable>...`; nothing when there are none.
void write_variables(XmlWriter &xml, std::string_view list, const Variables &variables);

/// A whole answer document around what `write` puts into the message element.
template <class Write>
std::string answer_document(std::string_view version, std::string_view element, Write write) {
    XmlWriter xml;
    xml.put("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n");
    {
        const auto root = xml.element("kavro-client", "version", version);
        const auto message = xml.element(element);
        write(xml);
    }
    return xml.take();
}

/// Writes `result`; its texts are left out when they are empty.
void write_result(XmlWriter &xml, std::string_view result_id, std::string_view result_str = {},
                  std::string_view fail_reason = {});

std::string error_document(std::string_view version, const ProtocolError &error,
                           std::string_view detected_by = "BROKER");

} // namespace broker_sim
