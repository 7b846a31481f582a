#pragma once

#include <openssl/asn1.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace kavro {

using Bytes = std::span<const std::uint8_t>;

/// Walks over the elements of a DER text.
class DerReader {
public:
    explicit DerReader(Bytes bytes) : rest_(bytes) {}

    struct Element {
        int tag = 0; ///< V_ASN1_..., or -1 outside the universal class
        bool constructed = false;
        Bytes content;
    };

    bool at_end() const { return rest_.empty(); }

    /// The next element; nothing when there is none or it does not fit.
    std::optional<Element> next() {
        const unsigned char *content = rest_.data();
        long length = 0;
        int tag = 0;
        int kind = 0;
        const int flags =
            ASN1_get_object(&content, &length, &tag, &kind, static_cast<long>(rest_.size()));
        constexpr int unreadable = 0x80;
        constexpr int unknown_length = 1;
        if ((flags & (unreadable | unknown_length)) != 0)
            return std::nullopt;
        const Bytes inside(content, static_cast<std::size_t>(length));
        rest_ = rest_.subspan(static_cast<std::size_t>(content - rest_.data()) + inside.size());
        return Element{kind == V_ASN1_UNIVERSAL ? tag : -1, (flags & V_ASN1_CONSTRUCTED) != 0,
                       inside};
    }

    /// The same with its header, if it has this tag.
    std::optional<Bytes> whole(int expected_tag) {
        const Bytes before = rest_;
        const auto element = next();
        if (!element || element->tag != expected_tag)
            return std::nullopt;
        return before.first(before.size() - rest_.size());
    }

    std::optional<DerReader> inside(int expected_tag) {
        const auto element = next();
        if (!element || element->tag != expected_tag)
            return std::nullopt;
        return DerReader(element->content);
    }

private:
    Bytes rest_;
};

} // namespace kavro
