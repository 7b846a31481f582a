#pragma once

#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kavro {

/// An element as it is meant, before it is spelt as XML.
struct Element {
    std::string name;
    std::vector<std::pair<std::string, std::string>> attributes;
    std::vector<Element> children;
    std::vector<std::string> texts; ///< one before each child and one behind the last

    std::string text() const;
};

/// Random elements in random spellings, the same for the same seed.
class RandomXml {
public:
    explicit RandomXml(unsigned seed) : engine_(seed) {}

    std::size_t below(std::size_t bound);
    template <class List>
    const auto &pick(const List &list) {
        return list[below(std::size(list))];
    }

    const char *either(const char *one, const char *other) { return below(2) == 0 ? one : other; }

    /// `height` bounds the levels below the element.
    Element element(std::size_t height);
    /// The element's XML: text escaped, as references or as CDATA, either kind of quotes, comments.
    std::string spelt(const Element &element);
    /// The name with other capitals, perhaps with a prefix.
    std::string disguised(std::string name);

private:
    std::string text();
    std::string spelt_text(std::string_view text, bool attribute);

    std::mt19937 engine_;
};

/// Any element of the tree.
Element &random_descendant(RandomXml &random, Element &root);

} // namespace kavro
