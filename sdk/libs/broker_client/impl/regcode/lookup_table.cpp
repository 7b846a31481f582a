#include "regcode/lookup_table.h"

// Slow to compile: nothing else includes it.
#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>

#include <algorithm>
#include <istream>
#include <stdexcept>
#include <streambuf>
#include <string_view>

namespace kavro {

namespace {

/// The parser descends recursively, so depth and values are counted before it sees the text. What
/// stands in strings does not count; in a text that is no JSON the parser stops no later than this.
void check_shape(std::string_view json) {
    int depth = 0;
    int values = 0;
    bool in_string = false;
    for (std::size_t i = 0; i < json.size(); ++i) {
        const char c = json[i];
        if (in_string) {
            i += c == '\\'; // whatever is escaped
            in_string = c != '"';
            continue;
        }
        in_string = c == '"';
        depth += (c == '{' || c == '[') - (c == '}' || c == ']');
        values += c == ',';
        if (depth > LookupTable::max_nesting)
            throw std::runtime_error("The table is nested too deeply");
        if (values > LookupTable::max_values)
            throw std::runtime_error("The table has too many values");
    }
}

void check(std::string_view json) {
    if (json.size() > LookupTable::max_bytes)
        throw std::runtime_error("The table is too large");
    const auto first = json.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos || json[first] != '{')
        throw std::runtime_error("The table is no JSON object");
    check_shape(json);
}

/// A text that is read in pieces, with a checkpoint before each: the parser itself cannot be
/// interrupted, and a large table takes it seconds.
class TextInPieces : public std::streambuf {
public:
    TextInPieces(std::string text, const Checkpoint &checkpoint)
        : text_(std::move(text)), checkpoint_(checkpoint) {}

private:
    int_type underflow() override {
        constexpr std::size_t piece_bytes = 64 * 1024;
        if (checkpoint_)
            checkpoint_();
        const std::size_t bytes = std::min(piece_bytes, text_.size() - given_);
        char *const piece = text_.data() + given_;
        setg(piece, piece, piece + bytes);
        given_ += bytes;
        return bytes == 0 ? traits_type::eof() : traits_type::to_int_type(*piece);
    }

    std::string text_;
    const Checkpoint &checkpoint_;
    std::size_t given_ = 0;
};

} // namespace

struct LookupTable::Tree {
    boost::property_tree::ptree root;
};

LookupTable::LookupTable(std::string json, const Checkpoint &checkpoint) {
    check(json);
    auto tree = std::make_unique<Tree>();
    TextInPieces pieces(std::move(json), checkpoint);
    std::istream text(&pieces);
    boost::property_tree::read_json(text, tree->root);
    tree_ = std::move(tree);
}

LookupTable::~LookupTable() = default;

std::string LookupTable::find(const std::string &path) const {
    return tree_->root.get<std::string>(path, {});
}

} // namespace kavro
