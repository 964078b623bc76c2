/// \file
/// How far a signal is from the one that was wanted.
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

namespace example
{

/// Ratio of two powers in dB; infinite for a zero denominator, NaN for a zero numerator.
inline double decibels(double numerator, double denominator)
{
    if (!(numerator > 0)) return std::numeric_limits<double>::quiet_NaN();
    if (!(denominator > 0)) return std::numeric_limits<double>::infinity();
    return 10 * std::log10(numerator / denominator);
}

/// Gathers the error of a signal, sample by sample.
struct ErrorFigures {
    double samples = 0, signal = 0, noise = 0; ///< count; sums of squares of the wanted values and the errors
    double largest = 0;                        ///< magnitude of the largest error

    void add(double wanted, double got)
    {
        double const error = got - wanted;
        ++samples;
        signal += wanted * wanted;
        noise += error * error;
        largest = std::max(largest, std::abs(error));
    }
    double snr() const { return decibels(signal, noise); } ///< dB
};

/// Slope of the least-squares line through the points (x, y); NaN for fewer than two different x.
inline double fittedSlope(std::span<double const> x, std::span<double const> y)
{
    double n = 0, sumX = 0, sumY = 0, sumXX = 0, sumXY = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        ++n;
        sumX += x[i];
        sumY += y[i];
        sumXX += x[i] * x[i];
        sumXY += x[i] * y[i];
    }
    double const spread = n * sumXX - sumX * sumX;
    return spread > 0 ? (n * sumXY - sumX * sumY) / spread : std::numeric_limits<double>::quiet_NaN();
}

} // namespace example
