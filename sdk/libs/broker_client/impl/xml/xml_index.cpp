#include "xml/xml_index.h"

#include "xml/xml_scan.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace kavro::xml {

namespace {

constexpr const char *excluded_character = "excluded character";

/// Walks over a text once. Each step returns null, or why the text is malformed.
class Indexer {
public:
    Indexer(SecureText &text, int max_nesting, ElementIndex &elements, PacedCheckpoint &checkpoint)
        : begin_(text.data()),
          end_(begin_ + text.size()),
          at_(begin_),
          elements_(elements),
          checkpoint_(checkpoint) {
        open_.reserve(static_cast<std::size_t>(max_nesting));
    }

    const char *run() {
        if (std::string_view(begin_, end_).starts_with(byte_order_mark))
            at_ += byte_order_mark.size();
        for (;; checkpoint_.step()) {
            if (const char *error = open_.empty() ? skip_outside() : skip_text())
                return error;
            if (at_ == end_)
                return open_.empty() ? nullptr : "unexpected end of data";
            if (*at_ != '<')
                return excluded_character;
            if (const char *error = read_markup())
                return error;
        }
    }

private:
    struct OpenElement {
        std::uint32_t index;
        std::string_view name;
    };

    /// Outside of all elements there is nothing but white space.
    const char *skip_outside() {
        at_ = skip_white(at_);
        return at_ == end_ || *at_ == '<' ? nullptr : "expected <";
    }

    const char *skip_text() {
        for (at_ = find(at_, ends_text); *at_ == '&'; at_ = find(at_ + 1, ends_text)) {
            if (const char *error = check_reference(at_))
                return error;
        }
        return nullptr;
    }

    const char *check_reference(const char *ampersand) {
        checkpoint_.step();
        return read_reference(ampersand).error;
    }

    const char *check_references(std::string_view value) {
        for (auto at = value.find('&'); at != value.npos; at = value.find('&', at + 1)) {
            if (const char *error = check_reference(value.data() + at))
                return error;
        }
        return nullptr;
    }

    const char *read_markup() {
        switch (at_[1]) {
        case '/':
            return read_end_tag();
        case '?':
            return skip_past("<?", "?>");
        case '!':
            if (starts_with("<!--"))
                return skip_past("<!--", "-->");
            if (starts_with("<![CDATA["))
                return skip_past("<![CDATA[", "]]>");
            return "document type";
        default:
            return read_start_tag();
        }
    }

    const char *read_start_tag() {
        if (open_.size() == open_.capacity())
            return "nested too deep";
        const char *const start = at_;
        at_ = find(start + 1, ends_name);
        const std::string_view name(start + 1, at_);
        if (name.empty())
            return "expected element name";
        for (at_ = skip_white(at_); *at_ != '>' && *at_ != '/'; at_ = skip_white(at_)) {
            checkpoint_.step();
            RawAttribute attribute;
            if (const char *error = read_attribute(at_, attribute))
                return error;
            if (const char *error = check_references(attribute.value))
                return error;
        }
        const auto index = static_cast<std::uint32_t>(elements_.size());
        elements_.push_back({offset(start), offset(at_), index + 1});
        if (*at_ == '>') {
            open_.push_back({index, name});
        } else if (*++at_ != '>') {
            return "expected >";
        }
        ++at_;
        return nullptr;
    }

    const char *read_end_tag() {
        char *const start = begin_ + offset(at_);
        if (open_.empty())
            return "invalid closing tag";
        const auto [index, name] = open_.back();
        at_ = start + 2;
        if (!starts_with(name) || !is(at_[name.size()], ends_name))
            return "invalid closing tag";
        at_ = skip_white(at_ + name.size());
        if (*at_ != '>')
            return "expected >";
        ++at_;
        elements_[index].close = offset(start);
        elements_[index].next = static_cast<std::uint32_t>(elements_.size());
        *start = '\0';
        open_.pop_back();
        return nullptr;
    }

    bool starts_with(std::string_view mark) const {
        return std::string_view(at_, end_).starts_with(mark);
    }

    const char *skip_past(std::string_view opening, std::string_view closing) {
        const char *const begin = at_ + opening.size();
        const auto length = std::string_view(begin, end_).find(closing);
        if (length == std::string_view::npos)
            return "unexpected end of data";
        const char *const end = begin + length;
        if (std::any_of(at_, end, [](char c) { return is(c, excluded); }))
            return excluded_character;
        at_ = end + closing.size();
        return nullptr;
    }

    std::uint32_t offset(const char *position) const {
        return static_cast<std::uint32_t>(position - begin_);
    }

    char *begin_;
    const char *end_; ///< the text's end
    const char *at_;
    ElementIndex &elements_;
    PacedCheckpoint &checkpoint_;
    std::vector<OpenElement> open_; ///< from the outermost; never grows
};

} // namespace

const char *index_elements(SecureText &text, int max_nesting, ElementIndex &elements,
                           PacedCheckpoint &checkpoint) {
    if (text.size() > std::numeric_limits<std::uint32_t>::max())
        return "text too long";
    // Room for more elements than a message usually has; what of it is not used costs no memory.
    elements.reserve(text.size() / 32);
    return Indexer(text, max_nesting, elements, checkpoint).run();
}

} // namespace kavro::xml
