/// \file
/// From stored integers to doubles.
#pragma once

#include "multiword/chunkgeometry.h"

#include <bit>
#include <cmath>
#include <limits>

static_assert(std::numeric_limits<double>::is_iec559 && std::numeric_limits<float>::is_iec559);

namespace ORVEX::multiword
{

/// x * 2^exponent, rounded once: std::ldexp. Where the power is itself a double, one multiplication gives the
/// same.
inline double scaledByPowerOfTwo(double x, long long exponent)
{
    if (exponent >= -1022 && exponent <= 1023)
        return x * std::bit_cast<double>(static_cast<Chunk>(exponent + 1023) << 52);
    return std::ldexp(x, static_cast<int>(exponent));
}

/// A chunk, read as unsigned, as the nearest double (ties to even): one rounding.
inline double chunkToDouble(Chunk chunk) { return static_cast<double>(chunk); }

/// value * 2^fixedExponent, without slope factor or bias: the sum of one rounded conversion per chunk, low
/// chunk first, of the magnitude.
template <class Count>
double chunksToRadixDouble(Chunk const* chunks, fxpDataTypeProp const& type, Count count)
{
    bool const negative = chunksAreNegative(chunks, type, count);
    Chunk carry = negative;
    double total = 0.0;
    for (int i = 0; i < count; ++i) {
        long long const weight = type.fixedExponent + static_cast<long long>(i) * chunkBits;
        if (weight > std::numeric_limits<int>::max()) break; // an exponent is a 32-bit number
        Chunk const magnitude = negative ? ~chunks[i] + carry : chunks[i];
        if (magnitude == 0) continue;
        carry = 0;
        double const term = scaledByPowerOfTwo(chunkToDouble(magnitude), weight);
        total = negative ? total - term : total + term;
    }
    return total;
}

/// The real-world value: radix double x slopeAdjustmentFactor + bias, in that order.
template <class Count>
double chunksToRealWorldDouble(Chunk const* chunks, fxpDataTypeProp const& type, Count count)
{
    return chunksToRadixDouble(chunks, type, count) * type.slopeAdjustmentFactor + type.bias;
}

/// Radix copy: factor 1 and bias 0, all else kept.
inline fxpDataTypeProp radixCopy(fxpDataTypeProp type)
{
    type.slopeAdjustmentFactor = 1.0;
    type.bias = 0.0;
    return type;
}

/// Stripped copy: a radix copy with fixed exponent 0 as well.
inline fxpDataTypeProp strippedCopy(fxpDataTypeProp type)
{
    type.fixedExponent = 0;
    return radixCopy(type);
}

/// The largest stored integer as a double.
inline double maxStoredIntegerAsDouble(fxpDataTypeProp const& type)
{
    double total = 0.0;
    for (int i = 0; i < numChunksOfType(type); ++i)
        total +=
            scaledByPowerOfTwo(chunkToDouble(maxValueChunk(i, type)), static_cast<long long>(i) * chunkBits);
    return total;
}

/// The smallest stored integer as a double.
inline double minStoredIntegerAsDouble(fxpDataTypeProp const& type)
{
    if (!type.isSigned()) return 0.0;
    int const top = numChunksOfType(type) - 1;
    return -scaledByPowerOfTwo(chunkToDouble(Chunk{0} - minValueChunk(top, type)),
                               static_cast<long long>(top) * chunkBits);
}

} // namespace ORVEX::multiword
