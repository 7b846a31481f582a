#pragma once

#include <initializer_list>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace kavro_cli {

/// Rows of texts from elsewhere, made visible and aligned by the columns that they take on a
/// terminal.
class Table {
public:
    using Row = std::vector<std::string>;

    /// Adds a row; the first one decides how many columns there are.
    void add(const Row &row);

    void print(std::ostream &out) const;

private:
    std::vector<Row> rows_;
    std::vector<std::size_t> widths_;
};

} // namespace kavro_cli
