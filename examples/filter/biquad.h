/// \file
/// A section with feedback, computed number by number.
#pragma once

#include "filter/design.h"
#include "filter/signal.h"
#include "support/progress.h"

namespace example
{

struct BiquadTypes {
    fxpDataTypeProp data, forward, feedback, sum;
    fxpModeRounding_tag rounding = fxpModeRoundingNearest;
    fxpModeOverflow_tag overflow = fxpModeOverflowSaturate; ///< of the data
};

/// Data and coefficients of `bits` bits, of the data `headroom` above full scale, and a sum of five products
/// that needs no rounding.
inline BiquadTypes biquadTypes(FilterDesign const& design, int bits, int headroom)
{
    BiquadTypes types;
    types.data = {true, bits, bits - 1 - headroom};
    types.forward = typeFor(largestMagnitude(design.forward), bits);
    types.feedback = typeFor(largestMagnitude(design.feedback), bits);
    int const coarsest = std::max(types.forward.fixedExponent, types.feedback.fixedExponent),
              finest = std::min(types.forward.fixedExponent, types.feedback.fixedExponent), guard = 3;
    types.sum = {true, 2 * bits + coarsest - finest + guard, -types.data.fixedExponent - finest};
    return types;
}

/// Direct form: five products in full precision and their sum, then one rounding to the type of the data, in
/// which the result goes back. The interleaved channels follow on silence.
inline std::vector<double> runBiquad(std::vector<double> const& input, std::size_t channels,
                                     FilterDesign const& design, BiquadTypes const& types,
                                     OrvexClientInterface& client, Progress& progress)
{
    std::vector<double> padded(2 * channels);
    padded.insert(padded.end(), input.begin(), input.end());
    ORVEX::Number const x(padded.data(), types.data, client, padded.size(), types.rounding,
                          fxpModeOverflowSaturate, false);
    unsigned long long const dims[] = {1, padded.size()};
    ORVEX::Number y(padded.size(), 2, dims, types.data, client, types.rounding, types.overflow, false);
    auto const coefficients = [&](std::vector<double> const& values, fxpDataTypeProp const& type) {
        return ORVEX::Number(values.data(), type, client, values.size(), types.rounding,
                             fxpModeOverflowSaturate, false);
    };
    ORVEX::Number const b = coefficients(design.forward, types.forward),
                        a = coefficients(design.feedback, types.feedback);
    ORVEX::Number sum(0.0, types.sum, client, types.rounding, types.overflow);
    for (std::size_t i = 2 * channels; i < padded.size(); ++i) {
        sum = b[0] * x[i];
        sum += b[1] * x[i - channels];
        sum += b[2] * x[i - 2 * channels];
        sum -= a[1] * y[i - channels];
        sum -= a[2] * y[i - 2 * channels];
        y[i] = sum;
        if ((i - 2 * channels) % (sliceFrames * channels) == 0) progress.advance();
    }
    y.getAllRWDoubleValues(padded.data());
    padded.erase(padded.begin(), padded.begin() + static_cast<std::ptrdiff_t>(2 * channels));
    return padded;
}

} // namespace example
