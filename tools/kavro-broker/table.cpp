#include "table.h"

#include "display_text.h"

#include <algorithm>
#include <ostream>
#include <utility>

namespace kavro_cli {

Cell::Cell(const std::string &text, Colour text_colour)
    : shown(visible(text)), colour(text_colour) {}

void Table::add(const Row &row) {
    widths_.resize(rows_.empty() ? row.size() : widths_.size());
    for (std::size_t column = 0; column < widths_.size(); ++column)
        widths_[column] = std::max(widths_[column], display_width(row[column].shown));
    rows_.push_back(row);
}

void Table::print(std::ostream &out, bool in_colour) const {
    for (const auto &row : rows_) {
        std::size_t gap = 0; // before the next text, so that no line ends in blanks
        for (std::size_t column = 0; column < row.size(); ++column) {
            const auto &[text, colour] = row[column];
            if (!text.empty())
                out << std::string(std::exchange(gap, 0), ' ') << painted(text, colour, in_colour);
            gap += widths_[column] - display_width(text) + 2;
        }
        out << '\n';
    }
}

} // namespace kavro_cli
