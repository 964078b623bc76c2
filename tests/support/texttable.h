/// \file
/// Tables of cases as text.
#pragma once

#include <sstream>
#include <string>
#include <vector>

namespace orvextest
{

using Texts = std::vector<std::string>;

inline Texts split(std::string const& text, char separator)
{
    Texts parts;
    std::istringstream in(text + separator);
    for (std::string part; std::getline(in, part, separator);) parts.push_back(part);
    return parts;
}

/// Rows stand between semicolons. Cells are words, or what stands between bars.
inline std::vector<Texts> rows(std::string const& table, char betweenCells = ' ')
{
    std::vector<Texts> all;
    for (std::string const& row : split(table, ';')) all.push_back(split(row, betweenCells));
    return all;
}

} // namespace orvextest
