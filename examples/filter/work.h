/// \file
/// What the parts of the program share.
#pragma once

#include "filter/design.h"
#include "support/errorfigures.h"
#include "support/progress.h"
#include "support/sound.h"
#include "support/stagedoutput.h"
#include "support/texttable.h"

#include <optional>

namespace example
{

using ORVEX::EventCounter;
using ORVEX::EventKind;
using Row = std::vector<std::string>;

struct Options {
    std::string recording = defaultRecording, output = "filter-out";
    std::optional<double> gain;
    std::vector<int> bits = {6, 8, 10, 12, 14, 16, 18, 20, 24};
    std::vector<int> types;
    double seconds = 3, cutoff = 0.1, shift = 200;
    std::size_t taps = 32;
};

constexpr int roomy = 3; ///< bits of headroom in which the section holds a full-scale tone

/// All that the parts of a run share.
struct Work {
    Options const& options;
    Sound sound; ///< with the gain applied
    std::size_t channels;
    std::vector<int> lengths; ///< of words, rising
    FilterDesign fir, section;
    std::vector<double> firWanted, sectionWanted; ///< results in doubles
    StagedOutput output;
    Progress progress;
    std::ostringstream report;

    void write(std::string const& stem, std::vector<double> samples, int bits) const
    {
        writeSound(output.directory() / (stem + ".wav"), {std::move(samples), sound.channels, sound.rate},
                   bits);
    }
};

inline ErrorFigures compare(std::vector<double> const& wanted, std::vector<double> const& got)
{
    ErrorFigures figures;
    for (std::size_t i = 0; i < wanted.size(); ++i) figures.add(wanted[i], got[i]);
    return figures;
}

inline std::string typeName(fxpDataTypeProp const& type)
{
    return "s" + std::to_string(type.wordLength) + "." + std::to_string(-type.fixedExponent);
}

inline char const* overflowName(fxpModeOverflow_tag overflow)
{
    return overflow == fxpModeOverflowWrap ? "wrap" : "saturate";
}

inline Row& operator+=(Row& row, Row const& more)
{
    row.insert(row.end(), more.begin(), more.end());
    return row;
}

inline Row overflowFigures(EventCounter const& heard)
{
    return {std::to_string(heard.count(EventKind::wrap)),
            std::to_string(heard.count(EventKind::saturationToMin)),
            std::to_string(heard.count(EventKind::saturationToMax))};
}

} // namespace example
