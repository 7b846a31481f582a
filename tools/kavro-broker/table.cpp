#include "table.h"

#include "display_text.h"

#include <algorithm>
#include <ostream>

namespace kavro_cli {

void Table::add(const Row &row) {
    if (rows_.empty())
        widths_.resize(row.size());
    auto &shown = rows_.emplace_back();
    for (std::size_t column = 0; column < widths_.size(); ++column) {
        shown.push_back(visible(row[column]));
        widths_[column] = std::max(widths_[column], display_width(shown.back()));
    }
}

void Table::print(std::ostream &out) const {
    for (const auto &row : rows_) {
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column) {
            line += row[column];
            line.append(widths_[column] - display_width(row[column]) + 2, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        out << line << '\n';
    }
}

} // namespace kavro_cli
