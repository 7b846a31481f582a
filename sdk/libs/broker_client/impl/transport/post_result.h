#pragma once

#include "xml/xml_document.h"

#include <cstdint>
#include <memory>
#include <string>

namespace kavro {

enum ePOST_RESULT : std::uint32_t {
    POST_RESULT_SUCCESS = 0,
    POST_RESULT_INVALID_PARAMS = 1,
    POST_RESULT_TIMEOUT = 2,
    POST_RESULT_CANCELLED = 3,
    POST_RESULT_TLS_PROTOCOL_ERROR = 4,
    POST_RESULT_SOCKET_OR_SYS_FAILURE = 5,
    POST_RESULT_MANGLED_RESPONSE = 6,
    POST_RESULT_NOT_HTTP_OK = 7
};

/// How a POST ended. `document` is set on success only.
struct PostResult {
    ePOST_RESULT result = POST_RESULT_SUCCESS;
    std::string error_text;
    std::shared_ptr<const XmlDocument> document;
};

} // namespace kavro
