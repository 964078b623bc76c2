/// \file
/// Two low-pass filters in doubles: their coefficients and their responses.
#pragma once

#include <cmath>
#include <complex>
#include <numbers>
#include <span>
#include <vector>

namespace example
{

using std::numbers::pi;

/// The quotient of two polynomials in one sample's delay. The second begins with 1 and is just that where
/// there is no feedback.
struct FilterDesign {
    std::vector<double> forward, feedback;

    /// Gain in dB at a frequency in cycles per sample.
    double gain(double frequency) const
    {
        auto const at = [&](std::vector<double> const& polynomial) {
            std::complex<double> sum = 0;
            for (std::size_t k = 0; k < polynomial.size(); ++k)
                sum += std::polar(polynomial[k], -2 * pi * frequency * static_cast<double>(k));
            return std::abs(sum);
        };
        return 20 * std::log10(std::max(at(forward) / at(feedback), 1e-9));
    }

    /// Filters each of the interleaved channels of a signal that follows on silence.
    template <class Value>
    std::vector<Value> apply(std::vector<Value> const& x, std::size_t channels) const
    {
        std::vector<Value> y(x.size());
        for (std::size_t i = 0; i < x.size(); ++i) {
            for (std::size_t k = 0; k < forward.size() && i >= k * channels; ++k)
                y[i] += forward[k] * x[i - k * channels];
            for (std::size_t k = 1; k < feedback.size() && i >= k * channels; ++k)
                y[i] -= feedback[k] * y[i - k * channels];
        }
        return y;
    }
};

/// A sinc under a Hamming window, two taps or more. The cutoff is in cycles per sample.
inline FilterDesign windowedSinc(std::size_t taps, double cutoff)
{
    FilterDesign design{std::vector<double>(taps), {1}};
    double sum = 0;
    for (std::size_t k = 0; k < taps; ++k) {
        double const last = static_cast<double>(taps - 1), t = static_cast<double>(k) - last / 2;
        double const sinc = t == 0 ? 2 * cutoff : std::sin(2 * pi * cutoff * t) / (pi * t);
        design.forward[k] = sinc * (0.54 - 0.46 * std::cos(2 * pi * static_cast<double>(k) / last));
        sum += design.forward[k];
    }
    for (double& tap : design.forward) tap /= sum;
    return design;
}

/// A second-order section that amplifies the frequency `cutoff`, in cycles per sample, by `resonance`.
inline FilterDesign resonantSection(double cutoff, double resonance)
{
    double const cosine = std::cos(2 * pi * cutoff), alpha = std::sin(2 * pi * cutoff) / (2 * resonance);
    double const unit = 1 + alpha, b = (1 - cosine) / (2 * unit);
    return {{b, 2 * b, b}, {1, -2 * cosine / unit, (1 - alpha) / unit}};
}

} // namespace example
