#pragma once

#include "utils/src/checkpoint.h"
#include "utils/src/secure_text.h"

#include <cstdint>
#include <vector>

namespace kavro::xml {

/// Where one element stands in its text. Everything else about it can be read there.
struct IndexedElement {
    std::uint32_t start; ///< of its start tag
    std::uint32_t close; ///< of its end tag, or of the "/>" that ends an empty one
    std::uint32_t next;  ///< the first element behind all that are inside this one
};

/// The elements in the order of their start tags: what is inside an element follows it.
using ElementIndex = std::vector<IndexedElement>;

/// Checks that a text is well-formed and nested at most `max_nesting` deep, and says where its
/// elements are. One pass, without recursion. `text` holds no zero byte. Afterwards one stands in
/// the place of the "<" of each end tag, which nobody needs any more: what an element holds in one
/// piece can be handed on as a text of C.
///
/// Lenient where brokers may be: several roots, none, or a reference to an unknown name will do.
/// Strict about document types, which a broker's message has no business to define.
///
/// @return null, or why the text cannot be read: a constant text
const char *index_elements(SecureText &text, int max_nesting, ElementIndex &elements,
                           PacedCheckpoint &checkpoint);

} // namespace kavro::xml
