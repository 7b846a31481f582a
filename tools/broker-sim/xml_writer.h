#pragma once
#include <string>
#include <string_view>

namespace broker_sim {

/// Appends elements to one growing text; names are trusted, values are escaped.
class XmlWriter {
public:
    /// Closes its element when it goes out of scope.
    class Scope {
    public:
        Scope(XmlWriter &writer, std::string_view name) : writer_(writer), name_(name) {}
        ~Scope() { writer_.put("</", name_, ">\n"); }
        Scope(const Scope &) = delete;
        Scope &operator=(const Scope &) = delete;

    private:
        XmlWriter &writer_;
        std::string_view name_;
    };

    [[nodiscard]] Scope element(std::string_view name) {
        put("<", name, ">\n");
        return {*this, name};
    }
    [[nodiscard]] Scope element(std::string_view name, std::string_view attribute,
                                std::string_view value) {
        open(name, attribute, value);
        text_ += '\n';
        return {*this, name};
    }

    void leaf(std::string_view name, std::string_view value) {
        put("<", name, ">");
        escape(value);
        put("</", name, ">\n");
    }
    void leaf(std::string_view name, std::string_view value, std::string_view attribute,
              std::string_view attribute_value) {
        open(name, attribute, attribute_value);
        escape(value);
        put("</", name, ">\n");
    }
    void leaf_unless_empty(std::string_view name, std::string_view value) {
        if (!value.empty())
            leaf(name, value);
    }

    void put(auto... pieces) { (text_.append(pieces), ...); }
    std::string take() { return std::move(text_); }

private:
    void open(std::string_view name, std::string_view attribute, std::string_view value) {
        put("<", name, " ", attribute, "=\"");
        escape(value);
        put("\">");
    }

    void escape(std::string_view value) {
        for (;;) {
            const std::size_t plain = std::min(value.find_first_of("<>&\"'"), value.size());
            text_.append(value.substr(0, plain));
            if (plain == value.size())
                return;
            text_.append(entity(value[plain]));
            value.remove_prefix(plain + 1);
        }
    }

    static std::string_view entity(char character) {
        switch (character) {
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '&':
            return "&amp;";
        case '"':
            return "&quot;";
        default:
            return "&apos;";
        }
    }

    std::string text_;
};

} // namespace broker_sim
