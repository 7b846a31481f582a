#include "transport/xml_nesting.h"

#include <algorithm>

namespace kavro {

namespace {

constexpr std::string_view white_space = " \t\r\n";
constexpr const char *malformed_tag = "malformed tag";

/// Walks over the tags of a document. Every construct is skipped the way the parser skips it; where
/// the two could disagree about where a tag ends, the text is malformed and refused.
class TagScanner {
public:
    explicit TagScanner(std::string_view text) : rest_(text) {}

    const char *scan(int limit) {
        int depth = 0;
        while (skip_past("<")) {
            if (take("?")) {
                if (!skip_past("?>"))
                    return "unclosed instruction";
            } else if (take("!--")) {
                if (!skip_past("-->"))
                    return "unclosed comment";
            } else if (take("![CDATA[")) {
                if (!skip_past("]]>"))
                    return "unclosed CDATA";
            } else if (take("!")) {
                // A broker's message has no business defining a document type.
                return "document type";
            } else if (take("/")) {
                if (!skip_past(">"))
                    return malformed_tag;
                --depth;
            } else {
                bool closed = false;
                if (!skip_start_tag(closed))
                    return malformed_tag;
                if (depth + 1 > limit)
                    return "nested too deep";
                depth += closed ? 0 : 1;
            }
        }
        return nullptr;
    }

private:
    bool take(std::string_view start) {
        if (!rest_.starts_with(start))
            return false;
        rest_.remove_prefix(start.size());
        return true;
    }

    bool skip_past(std::string_view mark) {
        const auto at = rest_.find(mark);
        if (at == std::string_view::npos)
            return false;
        rest_.remove_prefix(at + mark.size());
        return true;
    }

    void skip_white_space() {
        rest_.remove_prefix(std::min(rest_.find_first_not_of(white_space), rest_.size()));
    }

    /// A name ends at white space or at one of the characters that may follow it.
    bool skip_name() {
        const auto end = rest_.find_first_of(" \t\r\n/>=<?!\"'");
        if (end == 0 || end == std::string_view::npos)
            return false;
        rest_.remove_prefix(end);
        return true;
    }

    bool skip_attribute() {
        if (!skip_name())
            return false;
        skip_white_space();
        if (!take("="))
            return false;
        skip_white_space();
        return (take("\"") && skip_past("\"")) || (take("'") && skip_past("'"));
    }

    bool skip_start_tag(bool &closed) {
        if (!skip_name())
            return false;
        for (;;) {
            skip_white_space();
            closed = take("/>");
            if (closed || take(">"))
                return true;
            if (!skip_attribute())
                return false;
        }
    }

    std::string_view rest_;
};

} // namespace

const char *check_xml_nesting(std::string_view text, int limit) {
    return TagScanner(text).scan(limit);
}

} // namespace kavro
