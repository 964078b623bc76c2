/// \file
/// How a section with feedback sounds on when its input is over.
#pragma once

#include "filter/biquad.h"
#include "filter/work.h"

namespace example
{

/// What is left of a tone in the section when it is long over, and the steady part of that.
struct Tail {
    double amplitude = -1;  ///< in full scales
    std::size_t period = 0; ///< frames; 0 if there is none

    Tail() = default;
    explicit Tail(std::span<double const> y) : amplitude(largestMagnitude({y.begin(), y.end()}))
    {
        for (std::size_t p = 1; p <= y.size() / 2 && period == 0; ++p)
            if (std::ranges::equal(y.subspan(p), y.first(y.size() - p))) period = p;
    }
};

constexpr std::size_t toneFrames = 128, silentFrames = 1024, tailFrames = 512, moments = 10;
constexpr int ringingBits = 12;
constexpr std::pair<int, fxpModeOverflow_tag> ringingRanges[] = {
    {roomy, fxpModeOverflowSaturate}, {0, fxpModeOverflowSaturate}, {0, fxpModeOverflowWrap}};
constexpr std::pair<fxpModeRounding_tag, char const*> ringingRoundings[] = {
    {fxpModeRoundingNearest, "Nearest"}, {fxpModeRoundingFloor, "Floor"}, {fxpModeRoundingZero, "Zero"}};

constexpr std::size_t ringingSteps = std::size(ringingRanges) * std::size(ringingRoundings) * moments *
                                     slicesOf(toneFrames + silentFrames); ///< of progress

/// Rounding and overflow in the feedback may keep the section sounding when its input is over. That depends
/// on the moment when the input ends, so several are tried.
inline void ringingReport(Work& work)
{
    std::vector<std::vector<double>> loudest; // outputs, by row
    TextTable table{
        3, {{"data", "rounding", "overflow", "wraps", "to min", "to max", "amplitude", "ulp", "period"}}};
    for (auto const& [headroom, overflow] : ringingRanges)
        for (auto const& [rounding, name] : ringingRoundings) {
            BiquadTypes types = biquadTypes(work.section, ringingBits, headroom);
            types.rounding = rounding;
            types.overflow = overflow;
            EventCounter heard;
            Tail tail;
            loudest.emplace_back();
            for (std::size_t moment = 0; moment < moments; ++moment) {
                std::vector<double> tone(toneFrames + silentFrames);
                for (std::size_t i = 0; i < toneFrames; ++i)
                    tone[i] = 0.9 * std::sin(2 * pi * work.options.cutoff * static_cast<double>(i + moment));
                std::vector<double> output = runBiquad(tone, 1, work.section, types, heard, work.progress);
                Tail const left{std::span<double const>(output).last(tailFrames)};
                if (left.amplitude <= tail.amplitude) continue;
                tail = left;
                loudest.back() = std::move(output);
            }
            table.rows.push_back({typeName(types.data), name, overflowName(overflow)});
            table.rows.back() += overflowFigures(heard);
            table.rows.back() +=
                {figure(tail.amplitude, 4), figure(std::ldexp(tail.amplitude, -types.data.fixedExponent), 0),
                 tail.amplitude > 0 && tail.period > 0 ? std::to_string(tail.period) : "-"};
        }
    std::ostringstream data;
    for (std::size_t i = 0; i < loudest.front().size(); ++i) {
        data << static_cast<double>(i) - static_cast<double>(toneFrames);
        for (auto const& output : loudest) data << ' ' << output[i];
        data << '\n';
    }
    work.output.write("ringing.dat", data.str());
    work.report << "\nThe section " << silentFrames - tailFrames
                << " samples after the end of a tone: the loudest of " << moments
                << " tries. Room for all values, then not.\n\n"
                << table;
}

} // namespace example
