#include "random_xml.h"

#include "utils/src/broker_utils.h"

#include <cctype>

namespace kavro {

namespace {

constexpr const char *names[] = {"hello",  "result",    "x",           "k:x",
                                 "A_b-1.", "f\xc3\xbc", "kavro-client"};
constexpr const char *prefixes[] = {"", "", "k:", "a:b:"};
constexpr const char *pieces[] = {"text",  " ",  "\r\n", "\t",       "<",    ">",  "&", "\"",  "'",
                                  "&amp;", "]]", "<!--", "\xc3\xa9", "\xff", "/>", "=", "\x01"};

} // namespace

std::string Element::text() const {
    std::string all;
    for (const auto &part : texts)
        all += part;
    return all;
}

std::size_t RandomXml::below(std::size_t bound) {
    return engine_() % bound;
}

std::string RandomXml::text() {
    std::string text;
    for (auto count = below(5); count > 0; --count)
        text += pick(pieces);
    return text;
}

Element RandomXml::element(std::size_t height) {
    Element element{pick(names), {}, {}, {text()}};
    for (auto count = below(3); count > 0; --count)
        element.attributes.emplace_back("a" + std::to_string(count), text());
    for (auto count = height == 0 ? 0 : below(4); count > 0; --count) {
        element.children.push_back(this->element(height - 1));
        element.texts.push_back(text());
    }
    return element;
}

std::string RandomXml::spelt_text(std::string_view text, bool attribute) {
    const bool cdata_fits = !attribute && text.find("]]>") == std::string_view::npos;
    if (const auto kind = below(3); kind == 0 && cdata_fits) {
        return "<![CDATA[" + std::string(text) + "]]>";
    } else if (kind == 1) {
        std::string references;
        for (const char c : text)
            references += static_cast<unsigned char>(c) < 0x80
                              ? "&#" + std::to_string(static_cast<int>(c)) + ";"
                              : std::string(1, c);
        return references;
    }
    return escape_xml(text);
}

std::string RandomXml::spelt(const Element &element) {
    std::string xml = "<" + element.name;
    for (const auto &[name, value] : element.attributes) {
        const char *quote = either("\"", "'");
        xml += " " + name + either("=", " = ") + quote + spelt_text(value, true) + quote;
    }
    if (element.children.empty() && element.texts[0].empty() && below(2) == 0)
        return xml + either("/>", " />");
    xml += either(">", " >") + spelt_text(element.texts[0], false);
    for (std::size_t i = 0; i < element.children.size(); ++i) {
        xml += below(4) == 0 ? "<!-- <c> -->" : "";
        xml += spelt(element.children[i]) + spelt_text(element.texts[i + 1], false);
    }
    return xml + "</" + element.name + either(">", " >");
}

std::string RandomXml::disguised(std::string name) {
    for (char &c : name)
        c = below(3) == 0 ? static_cast<char>(std::toupper(c)) : c;
    return pick(prefixes) + name;
}

Element &random_descendant(RandomXml &random, Element &root) {
    Element *element = &root;
    while (!element->children.empty() && random.below(4) != 0)
        element = &element->children[random.below(element->children.size())];
    return *element;
}

} // namespace kavro
