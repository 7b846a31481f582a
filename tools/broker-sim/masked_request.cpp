#include "masked_request.h"

#include "xml/xml_message_log.h"

namespace broker_sim {
namespace {

constexpr std::size_t most_bytes = 8 * 1024; ///< more than any message of a client has

} // namespace

std::string masked_request(const std::string &body) {
    if (body.empty())
        return {};
    std::string error;
    const auto document = kavro::XmlDocument::parse(kavro::SecureText(body), error);
    return kavro::masked_message(document ? document->root() : kavro::XmlNode(),
                                 kavro::MessageDirection::sending)
        .substr(0, most_bytes);
}

} // namespace broker_sim
