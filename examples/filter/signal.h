/// \file
/// Numbers that begin with silence, seen through windows.
#pragma once

#include <orvex/orvex.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <vector>

namespace example
{

constexpr std::size_t sliceFrames = 512; ///< work and events are counted by slices

constexpr std::size_t slicesOf(std::size_t frames) { return (frames + sliceFrames - 1) / sliceFrames; }

inline double largestMagnitude(std::vector<double> const& values)
{
    double largest = 0;
    for (double const value : values) largest = std::max(largest, std::abs(value));
    return largest;
}

/// Signed, with the binary point where `largest` just fits.
inline fxpDataTypeProp typeFor(double largest, int bits)
{
    return {true, bits, -ORVEX::bestPrecisionFixedExponent(largest, fxpDataTypeProp(true, bits, 0))};
}

/// A row of numbers in storage of our own, so that any part of it can be wrapped as another Number.
class Signal
{
public:
    /// Copies the stored integers behind `lead` zeros. The client of `values` has to outlive this signal.
    Signal(ORVEX::Number const& values, std::size_t lead_)
        : lead(lead_), elementBytes(bytesOf(values)),
          storage((lead + values.getNumberOfElements()) * elementBytes),
          whole(at(0), values.getDataType(), values.getFxpClient(), values.getNumberOfElements(),
                values.getRoundMode(), values.getOverflowMode(), values.isComplex())
    {
        whole.copyDataIntoSIArray(values.getSIArray(), values.getNumberOfElements());
    }
    Signal(Signal const&) = delete;
    Signal& operator=(Signal const&) = delete;

    ORVEX::Number const& all() const { return whole; }

    /// `count` elements from `first` on, as they were `delay` elements ago; no copy.
    ORVEX::Number delayed(std::size_t first, std::size_t delay, std::size_t count)
    {
        return {at(first - delay),    whole.getDataType(),     whole.getFxpClient(), count,
                whole.getRoundMode(), whole.getOverflowMode(), whole.isComplex()};
    }

private:
    /// What a Number takes for an element: the next container of 1, 2, 4 or 8 bytes, or 8-byte chunks.
    static std::size_t bytesOf(ORVEX::Number const& values)
    {
        auto const bits = static_cast<unsigned>(values.getWordLength());
        std::size_t const bytes = bits > 64 ? (bits + 63) / 64 * 8 : std::max(std::bit_ceil(bits) / 8, 1U);
        return bytes * (values.isComplex() ? 2 : 1);
    }
    /// Modulo 2^64, as `first - delay` is.
    void* at(std::size_t element) { return storage.data() + (lead + element) * elementBytes; }

    std::size_t lead, elementBytes;
    std::vector<std::byte> storage; ///< aligned for every container, as all that new gives
    ORVEX::Number whole;
};

} // namespace example
