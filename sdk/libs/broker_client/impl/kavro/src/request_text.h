#pragma once

#include "kavro/src/results.h"
#include "utils/src/secure_text.h"

#include <string>
#include <string_view>

namespace kavro {

/// The path that every request is posted to.
inline constexpr std::string_view broker_path = "/kavro-broker/xml";

/// The version that a client speaks until a broker states another one.
inline constexpr std::string_view initial_protocol_version = "2.1";

/// What client and broker have agreed on so far.
struct Dialect {
    std::string version{initial_protocol_version};
    bool oauth = false; ///< whether OAuth is offered and understood
};

/// Compares dotted versions component by component as numbers; one that is the beginning of the
/// other counts as at least as high.
bool version_at_least(std::string_view version, std::string_view required);

/// The text of one request inside its envelope: an element a line. Values stand in it exactly as
/// given; it is wiped when it is released.
class RequestText {
public:
    explicit RequestText(std::string_view protocol_version);

    /// @param method the element's attribute of that name; none when empty.
    RequestText &open(std::string_view element, std::string_view method = {});
    RequestText &close(std::string_view element);
    RequestText &empty(std::string_view element);
    /// A line of its own, as it stands.
    RequestText &line(std::string_view text);
    RequestText &element(std::string_view name, std::string_view value);
    /// An element whose value no log may show.
    RequestText &secret_element(std::string_view name, std::string_view value);
    /// The list as an element of that name; nothing at all when it is empty.
    RequestText &variables(std::string_view name, const Variables &list);

    /// The finished request.
    SecureText finish() &&;

private:
    template <class... Pieces>
    RequestText &add(Pieces... pieces) {
        (text_.append(pieces), ...);
        return *this;
    }

    SecureText text_;
};

} // namespace kavro
