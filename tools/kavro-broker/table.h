#pragma once

#include "colour.h"

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace kavro_cli {

/// A text from elsewhere, made visible.
struct Cell {
    Cell(const std::string &text, Colour text_colour = Colour::none);
    Cell(const char *text) : Cell(std::string(text)) {}

    std::string shown;
    Colour colour;
};

/// Rows of texts, aligned by the columns that they take on a terminal.
class Table {
public:
    using Row = std::vector<Cell>;

    /// Adds a row; the first one decides how many columns there are.
    void add(const Row &row);

    void print(std::ostream &out, bool in_colour = false) const;

private:
    std::vector<Row> rows_;
    std::vector<std::size_t> widths_;
};

} // namespace kavro_cli
