#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace kavro {

/// Writes one JSON text (RFC 8259), value after value. Whatever the texts hold, the result is well
/// formed and pure UTF-8: a byte that is not becomes U+FFFD, control characters are escaped.
class JsonWriter {
public:
    /// The name of the value that comes next.
    JsonWriter &name(std::string_view name);

    void text(std::string_view value);
    /// An empty text as null.
    void text_or_null(std::string_view value);
    void number(std::uint64_t value);
    void boolean(bool value);
    void null();

    template <class Members>
    void object(Members members) {
        open('{');
        members();
        out_ += '}';
    }
    /// One element per item, written by `element(item)`.
    template <class List, class Element>
    void array(const List &list, Element element) {
        open('[');
        for (const auto &item : list)
            element(item);
        out_ += ']';
    }

    std::string take() { return std::move(out_); }

private:
    void open(char bracket);
    void separate();
    void append_quoted(std::string_view text);

    std::string out_;
};

} // namespace kavro
