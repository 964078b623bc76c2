/// \file
/// Columns of text that line up.
#pragma once

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

namespace example
{

/// The first columns are names, flush left, all others figures, flush right. Rows are as long as the first
/// one.
struct TextTable {
    std::size_t nameColumns;
    std::vector<std::vector<std::string>> rows;

    friend std::ostream& operator<<(std::ostream& out, TextTable const& table)
    {
        std::vector<std::size_t> widths(table.rows.front().size());
        for (auto const& row : table.rows)
            for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
        for (auto const& row : table.rows)
            for (std::size_t i = 0; i < row.size(); ++i)
                out << (i < table.nameColumns ? std::left : std::right)
                    << std::setw(static_cast<int>(widths[i])) << row[i] << (i + 1 < row.size() ? "  " : "\n");
        return out;
    }
};

/// A figure with `decimals` digits after the point; "-" for NaN.
inline std::string figure(double value, int decimals)
{
    if (std::isnan(value)) return "-";
    std::ostringstream text;
    text << std::fixed << std::setprecision(decimals) << value;
    return text.str();
}

} // namespace example
