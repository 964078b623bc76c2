/// \file
/// A filter without feedback, computed with whole arrays of numbers.
#pragma once

#include "filter/design.h"
#include "filter/signal.h"
#include "support/progress.h"

#include <boost/multiprecision/cpp_int.hpp>

namespace example
{

/// Where rounding happens in a filter. The result has the type of the data.
struct FirTypes {
    fxpDataTypeProp data, coefficient, product, sum;
    fxpModeOverflow_tag overflow = fxpModeOverflowSaturate; ///< of the sum
    fxpModeRounding_tag rounding = fxpModeRoundingNearest;  ///< everywhere
};

/// Types in which nothing is rounded between the data and the result.
inline FirTypes fullPrecision(FilterDesign const& design, int dataBits, int coefficientBits)
{
    FirTypes types;
    types.data = {true, dataBits, dataBits - 1};
    types.coefficient = typeFor(largestMagnitude(design.forward), coefficientBits);
    int const bits = dataBits + coefficientBits,
              growth = static_cast<int>(std::bit_width(design.forward.size() - 1));
    int const fraction = -types.data.fixedExponent - types.coefficient.fixedExponent;
    types.product = {true, bits, fraction};
    types.sum = {true, bits + growth, fraction};
    return types;
}

/// The taps as numbers.
class Fir
{
public:
    Fir(FilterDesign const& design, FirTypes const& types_, OrvexClientInterface& client) : types(types_)
    {
        taps.reserve(design.forward.size());
        for (double const tap : design.forward)
            taps.emplace_back(tap, types.coefficient, client, types.rounding, fxpModeOverflowSaturate);
    }

    std::vector<ORVEX::Number> const& coefficients() const { return taps; }

    /// The sums for `count` elements from `first` on. The signal begins with silence for all taps but one.
    ORVEX::Number sums(Signal& signal, std::size_t first, std::size_t count, std::size_t channels) const
    {
        unsigned long long const dims[] = {1, count};
        ORVEX::Number sum(count, 2, dims, types.sum, signal.all().getFxpClient(), types.rounding,
                          types.overflow, signal.all().isComplex());
        for (std::size_t k = 0; k < taps.size(); ++k)
            sum.arrayPlusEquals(ORVEX::Number::arrayTimes(signal.delayed(first, k * channels, count), taps[k],
                                                          types.product));
        return sum;
    }

private:
    FirTypes types;
    std::vector<ORVEX::Number> taps;
};

/// The filter as stored integers say it: full products, full sums, and no Number in it.
class ExactFir
{
public:
    using Integer = boost::multiprecision::int128_t;

    ExactFir(Fir const& fir, Signal const& signal)
    {
        for (ORVEX::Number const& tap : fir.coefficients()) taps.push_back(tap.getSIArrayValueSigned());
        ORVEX::Number const& x = signal.all();
        for (std::size_t i = 0; i < x.getNumberOfElements(); ++i)
            samples.push_back(x[i].getSIArrayValueSigned());
        exponent = x.getFixedExponent() + fir.coefficients().front().getFixedExponent();
    }

    /// How many of these sums, the first of which belongs to element `first`, are not exact.
    unsigned long long differences(ORVEX::Number const& sums, std::size_t first, std::size_t channels) const
    {
        unsigned long long count = 0;
        Integer const unit = Integer(1) << (sums.getFixedExponent() - exponent);
        for (std::size_t i = 0; i < sums.getNumberOfElements(); ++i) {
            Integer exact = 0;
            for (std::size_t k = 0; k < taps.size() && first + i >= k * channels; ++k)
                exact += Integer(taps[k]) * samples[first + i - k * channels];
            if (stored(sums, i) * unit != exact) ++count;
        }
        return count;
    }

private:
    static Integer stored(ORVEX::Number const& number, std::size_t i)
    {
        if (number.getNumChunks() == 1) return number[i].getSIArrayValueSigned();
        auto const* const chunks = static_cast<unsigned long long const*>(number.getSIArray()) + 2 * i;
        return Integer(static_cast<long long>(chunks[1])) * (Integer(1) << 64) + chunks[0];
    }

    std::vector<long long> taps, samples;
    int exponent;
};

inline double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

using EventsBySlice = std::vector<unsigned long long>;

/// What a filter makes of a recording.
struct FirRun {
    std::vector<double> output;
    EventsBySlice overflows;        ///< of the sums, by slice
    unsigned long long inexact = 0; ///< sums that differ from the exact ones
    double seconds = 0;             ///< spent in the filter
};

inline FirRun runFir(std::vector<double> const& input, std::size_t channels, FilterDesign const& design,
                     FirTypes const& types, EventCounter& heard, Progress& progress)
{
    Signal signal(ORVEX::Number(input.data(), types.data, heard, input.size(), types.rounding,
                                fxpModeOverflowSaturate, false),
                  (design.forward.size() - 1) * channels);
    Fir const fir(design, types, heard);
    ExactFir const exact(fir, signal);
    ORVEX::Cast const toOutput(types.data, heard, types.rounding, fxpModeOverflowSaturate);
    auto const overflows = [&] { return heard.counts().overflows(); };

    FirRun run;
    run.output.resize(input.size());
    for (std::size_t first = 0; first < input.size(); first += sliceFrames * channels) {
        std::size_t const count = std::min(sliceFrames * channels, input.size() - first);
        unsigned long long const before = overflows();
        auto const start = std::chrono::steady_clock::now();
        ORVEX::Number const sums = fir.sums(signal, first, count, channels);
        run.overflows.push_back(overflows() - before);
        toOutput(sums).getAllRWDoubleValues(&run.output[first]);
        run.seconds += secondsSince(start);
        run.inexact += exact.differences(sums, first, channels);
        progress.advance();
    }
    return run;
}

/// How often the sums of the filter in doubles would leave the type, by slice. Every sum is stored as a
/// scaled double, which keeps it as it is and tells its client what the type would have done.
inline EventsBySlice predictOverflows(std::vector<double> const& input, std::size_t channels,
                                      FilterDesign const& design, FirTypes const& types)
{
    fxpDataTypeProp scaledDouble = types.sum;
    scaledDouble.mode = fxpModeDataTypeScaledDouble;
    EventsBySlice overflows;
    for (std::size_t first = 0; first < input.size(); first += sliceFrames * channels) {
        std::vector<double> sums(std::min(sliceFrames * channels, input.size() - first));
        EventCounter heard;
        ORVEX::Number stored(sums.data(), scaledDouble, heard, sums.size(), types.rounding, types.overflow,
                             false);
        for (std::size_t k = 0; k < design.forward.size(); ++k) {
            for (std::size_t i = 0; i < sums.size(); ++i)
                if (first + i >= k * channels) sums[i] += design.forward[k] * input[first + i - k * channels];
            stored.setValue(sums.data());
        }
        overflows.push_back(heard.count(EventKind::potentialOverflow));
    }
    return overflows;
}

} // namespace example
