/// \file
/// Raw counts of a converter, from a CSV file.
#pragma once

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace example
{

/// Reads a file of rows `seconds,counts` with counts from 0 to `largest`. Empty lines, lines that start with
/// '#' and a first row that names the columns count for nothing. Any other bad row is told on standard error,
/// with its line number, and left out. Throws std::runtime_error if the file cannot be read or no row is
/// left.
inline std::vector<std::uint16_t> readCounts(std::string const& file, std::uint16_t largest)
{
    std::vector<std::uint16_t> counts;
    std::ifstream stream(file);
    bool first = true;
    unsigned long long number = 1;
    for (std::string line; std::getline(stream, line); ++number) {
        if (line.ends_with('\r')) line.pop_back();
        if (line.empty() || line.front() == '#') continue;
        bool const names = first && line == "seconds,counts";
        first = false;
        if (names) continue;

        std::istringstream row(line);
        double seconds = 0;
        char comma = 0;
        long long count = 0;
        if (row >> seconds >> comma >> count && comma == ',' && (row >> std::ws).eof() && count >= 0 &&
            count <= largest)
            counts.push_back(static_cast<std::uint16_t>(count));
        else
            std::cerr << file << ':' << number << ": left out, no row seconds,counts with counts from 0 to "
                      << largest << '\n';
    }
    if (!stream.eof()) throw std::runtime_error("cannot read " + file + ": " + std::strerror(errno));
    if (counts.empty()) throw std::runtime_error("cannot read " + file + ": no row with counts");
    return counts;
}

} // namespace example
